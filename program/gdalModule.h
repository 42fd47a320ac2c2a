#ifndef QORVEL_PROGRAM_GDALMODULE_H
#define QORVEL_PROGRAM_GDALMODULE_H

#include "program/GdalFormats.h"

/// The way into the module; what it takes of the program it finds in the program that loads it.
extern "C" __attribute__((visibility("default"))) const program::GdalFormats* qorvel_gdal_formats();

#endif
