#ifndef QORVEL_ENGINE_SETUP_NUMBERTEXT_H
#define QORVEL_ENGINE_SETUP_NUMBERTEXT_H

#include "engine/export.h"

#include <string>

namespace qorvel_engine {

/// As few digits as tell the number from all others.
QORVEL_ENGINE_EXPORT std::string numberText(double number);

/// Three digits, or all of the whole part: "4.77", "1222", "0.149".
QORVEL_ENGINE_EXPORT std::string roundedText(double number);

} // namespace qorvel_engine

#endif
