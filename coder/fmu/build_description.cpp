#include "coder/fmu/wrapper.h"
#include "coder/fmu/xml.h"

namespace tessel::fmu {

std::string write_build_description(const exact::unit_t& unit) {
    Xml xml;
    xml.open("fmiBuildDescription").attribute("fmiVersion", "3.0");
    xml.open("BuildConfiguration").attribute("modelIdentifier", unit.name);
    xml.open("SourceFileSet").attribute("language", "C99");
    xml.attribute("compilerOptions", "-ffp-contract=off");
    xml.open("SourceFile").attribute("name", unit.name + "_fmu.c").close();
    xml.close();
    xml.open("Library").attribute("name", "m").attribute("external", true);
    xml.attribute("description", "mathematical functions of C").close();
    xml.close().close();
    return xml.take();
}

}  // namespace tessel::fmu
