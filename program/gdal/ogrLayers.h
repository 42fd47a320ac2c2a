#ifndef QORVEL_PROGRAM_GDAL_OGRLAYERS_H
#define QORVEL_PROGRAM_GDAL_OGRLAYERS_H

#include <string>
#include <string_view>
#include <unordered_map>

class GDALDataset;
class OGRLayer;

namespace program {

/// Is that what GDAL's driver of the data set is called?
bool isOfFormat(GDALDataset& dataset, std::string_view format);

/// The layer of that name; for none the only one, or the first that has points. Throws
/// Failure(broken) where there is no such layer.
/// @param input  for messages
OGRLayer& chooseLayer(GDALDataset& dataset, const std::string& wanted, const std::string& input);

/// The names of a GPX file's tracks or routes, by their numbers in that column of its points; empty
/// for other columns and formats.
std::unordered_map<std::string, std::string> trackNames(GDALDataset& dataset,
                                                        std::string_view column);

} // namespace program

#endif
