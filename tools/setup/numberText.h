#ifndef QORVEL_TOOLS_SETUP_NUMBERTEXT_H
#define QORVEL_TOOLS_SETUP_NUMBERTEXT_H

#include <string>

namespace host {

/// As few digits as tell the number from all others.
std::string numberText(double number);

/// Three digits, or all of the whole part: "4.77", "1222", "0.149".
std::string roundedText(double number);

} // namespace host

#endif
