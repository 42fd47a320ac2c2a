#ifndef QORVEL_TOOLS_OUTPUT_DEGREESTEXT_H
#define QORVEL_TOOLS_OUTPUT_DEGREESTEXT_H

#include "tools/csvText.h"

#include <cmath>
#include <string>

namespace host {

/// Appends degrees with seven decimals, which is a centimetre.
inline void appendDegrees(std::string& text, double degrees) {
    csv::appendDecimal(text, std::llround(degrees * 1e7), 7);
}

} // namespace host

#endif
