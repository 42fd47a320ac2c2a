#include "program/gdal/OgrFormats.h"
#include "program/gdalModule.h"

extern "C" const program::GdalFormats* qorvel_gdal_formats() {
    static const program::OgrFormats formats;
    return &formats;
}
