# Turns files into a C++ source with one constant each; run at build time by blocks_embed (cmake/folder.cmake).
#
#   cmake -DOUTPUT=texts.cpp -DHEADER=coder/texts.h -DROOT=dir -DFILES="c/a.b;py/c" -P embed.cmake
#
# defines std::string_view constants tessel::texts::c::a_b and tessel::texts::py::c, which HEADER declares.
set(source "// Made by cmake/embed.cmake.\n#include \"${HEADER}\"\n\nnamespace tessel::texts {\n")
foreach (file IN LISTS FILES)
    file(READ ${ROOT}/${file} bytes HEX)
    string(LENGTH "${bytes}" digits)
    math(EXPR size "${digits} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
    string(REGEX REPLACE "(('[^']*',)('[^']*',)('[^']*',)('[^']*',)('[^']*',)('[^']*',)('[^']*',)('[^']*',))" "\\1\n"
        bytes "${bytes}")

    get_filename_component(space ${file} DIRECTORY)
    get_filename_component(name ${file} NAME)
    string(MAKE_C_IDENTIFIER ${name} name)
    string(APPEND source "\nnamespace ${space} {\nstatic constexpr char ${name}_bytes[] = {\n${bytes}\n};\n"
        "constinit const std::string_view ${name}{${name}_bytes, ${size}};\n}\n")
endforeach ()
string(APPEND source "\n}  // namespace tessel::texts\n")
file(WRITE ${OUTPUT} "${source}")
