#ifndef QORVEL_PROGRAM_GDAL_OGRROWS_H
#define QORVEL_PROGRAM_GDAL_OGRROWS_H

#include "engine/columns/ResultTable.h"
#include "program/engineNames.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

class GDALDataset;
class OGRFeature;
class OGRLayer;

namespace program {

/// Makes a layer in WGS 84 with a typed field for each column; null where GDAL cannot, as its
/// errors tell. The options are GDAL's, null for none.
OGRLayer* addLayer(GDALDataset& dataset, const std::string& name, const ResultSchema& schema,
                   char** options);

/// Can GDAL read the file's first layer, with that many features and the last of them? A disk that
/// fills up with the very last piece goes unnoticed when the file is closed.
/// @param lastId  asked for unless there is none
bool isReadable(const std::string& file, std::int64_t count, std::int64_t lastId);

/// A text as fields take it: UTF-8, see asUtf8, and without a NUL, at which it would end.
std::string fieldText(std::string_view text);

/// Writes rows of results as features of a layer that addLayer made.
class OgrRows {
public:
    /// Both must outlive it.
    OgrRows(OGRLayer& layer, const ResultSchema& schema);

    /// False where GDAL cannot, as its errors tell.
    bool write(const ResultTable& table, std::size_t row);

private:
    struct Ending {
        void operator()(OGRFeature* feature) const;
    };

    void setField(const ResultTable& table, std::size_t row, std::size_t column);
    void setTime(int index, std::int64_t time);

    OGRLayer& layer_;
    const ResultSchema& schema_;
    std::unique_ptr<OGRFeature, Ending> feature_; ///< used again for every row
};

} // namespace program

#endif
