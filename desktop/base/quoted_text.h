// Text of unknown content, made fit for a line of the log or of a terminal.
#ifndef ZUV_DESKTOP_BASE_QUOTED_TEXT_H
#define ZUV_DESKTOP_BASE_QUOTED_TEXT_H

#include <string>
#include <string_view>

namespace velmora::desktop {

/// The text in quotation marks, with escapes as in C++ for quotation marks and backslashes, for characters that are not
/// seen or that act on a terminal ("\n", "\x1b", "\u202e"), and for each byte that is not part of UTF-8 ("\xc4"), such
/// as those of a character that was cut. The result is UTF-8 and one line.
std::string inQuotes(std::string_view text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_QUOTED_TEXT_H
