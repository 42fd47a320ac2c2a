#ifndef QORVEL_PROGRAM_GDAL_OGRSOURCE_H
#define QORVEL_PROGRAM_GDAL_OGRSOURCE_H

#include "program/input/FixReader.h"
#include "program/input/FixSource.h"

#include <array>
#include <memory>
#include <unordered_map>

class GDALDataset;
class OGRCoordinateTransformation;
class OGRFeature;
class OGRLayer;

namespace program {

/// Point features of a layer of whatever GDAL reads. The place is the geometry, brought to WGS 84,
/// unless the layer has none or options name columns for it; the rest are attributes. What belongs
/// to a track of a GPX file is told apart by the track's name, else by its number.
class OgrSource : public FixSource {
public:
    /// Throws Failure(broken), with GDAL's words, when it cannot open or use the input, and
    /// Failure(usage) when nothing says which of GDAL's drivers is to read it.
    explicit OgrSource(const InputOptions& options);
    ~OgrSource() override;
    OgrSource(const OgrSource&) = delete;
    OgrSource& operator=(const OgrSource&) = delete;

    bool next() override;
    std::string read(Fix& fix) override;
    std::optional<std::int64_t> readTime() override;
    /// The number of the feature, the first being 1.
    std::uint64_t line() const override { return row_; }
    std::string verbatim() const override;
    bool isRepeatable() const override { return repeatable_; }
    void rewind() override;
    std::optional<double> shareRead() const override;
    const std::string& name() const override { return name_; }
    Assumed assumed() const override { return fixes_.assumed(); }

private:
    struct Closing {
        void operator()(GDALDataset* dataset) const;
        void operator()(OGRFeature* feature) const;
        void operator()(OGRCoordinateTransformation* transformation) const;
    };

    void open();
    OGRLayer* ask();
    void findColumns();
    void prepareTransformation();
    void takeAttribute(FixField field);
    std::string takePlace();
    void setText(FixField field, std::string text);
    void refuseCutOff() const;
    [[noreturn]] void fail(std::string_view what, const std::string& gdalWords = {}) const;

    std::string name_;
    InputOptions options_;
    bool repeatable_;
    FixReader fixes_;
    std::unique_ptr<GDALDataset, Closing> dataset_;
    OGRLayer* layer_ = nullptr;
    bool hasPlace_ = false; ///< geometries are read, not columns
    std::unique_ptr<OGRCoordinateTransformation, Closing> toWgs84_; ///< null: not needed
    std::unordered_map<std::string, std::string> trackNames_;       ///< by their numbers
    std::int64_t featureCount_ = -1;
    std::unique_ptr<OGRFeature, Closing> feature_;
    std::uint64_t row_ = 0;
    std::string trouble_; ///< of a feature read ahead, told when the features before it are taken
    std::array<std::string, kFixFields> values_;
    FixTexts texts_;
};

} // namespace program

#endif
