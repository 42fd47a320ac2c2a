#ifndef QORVEL_PROGRAM_GDAL_OGRTEXT_H
#define QORVEL_PROGRAM_GDAL_OGRTEXT_H

#include <string>

class OGRFeature;

namespace program {

/// All digits it takes to get the same number back, and never an exponent.
std::string realText(double value);

/// A field's value as a row of text would have it, times as ISO 8601; empty where there is none.
std::string fieldText(const OGRFeature& feature, int field);

/// A feature as GeoJSON.
std::string featureText(OGRFeature& feature);

} // namespace program

#endif
