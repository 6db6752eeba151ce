// Text in a drawing: escaping, and widths without a font at hand.
#pragma once

#include <string>
#include <string_view>

namespace zarn::draw {

/// Valid UTF-8 made of any bytes: what is no character, or none that XML may hold, becomes U+FFFD; line ends and tabs
/// become blanks.
std::string clean_utf8(std::string_view bytes);

/// Text as it stands in XML, in an element or in a quoted attribute; cleaned first.
std::string escape(std::string_view bytes);

/// Width in pixels of clean text at a font size, estimated on the wide side.
double text_width(std::string_view text, double size);

/// The text, shortened with an ellipsis at its end so that it is not wider than `width`.
std::string fit(std::string_view text, double size, double width);

/// A coordinate or a length, to a tenth of a pixel.
std::string num(double v);

}  // namespace zarn::draw
