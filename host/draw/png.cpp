#include "host/draw/png.h"

#include <stdexcept>

#include "host/draw/ask.h"

namespace zarn::draw {

std::string png_of(const std::string& svg) {
    constexpr const char* sound = "\x89PNG\r\n\x1A\n";
    constexpr const char* zoom = "2";  // fine enough for print
    const Answer answer = ask({"rsvg-convert", "--format=png", "--zoom", zoom}, svg, std::chrono::minutes(1));
    if (!answer.error.empty())
        throw std::runtime_error("a PNG needs rsvg-convert, which cannot be started: " + answer.error +
                                 " (package librsvg2-bin); draw to a name that ends in .svg");
    if (!answer.ended || !answer.text.starts_with(sound))
        throw std::runtime_error("rsvg-convert made no PNG of this drawing; draw to a name that ends in .svg");
    return answer.text;
}

}  // namespace zarn::draw
