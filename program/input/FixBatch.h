#ifndef QORVEL_PROGRAM_INPUT_FIXBATCH_H
#define QORVEL_PROGRAM_INPUT_FIXBATCH_H

#include "engine/columns/Observations.h"
#include "program/input/Fix.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// Fixes in columns, as the engine reads them.
class FixBatch {
public:
    /// Takes all out; memory is kept for the next.
    void clear();

    void append(const Fix& fix);

    /// The columns as they stand here, until the batch is changed.
    qorvel_engine::Observations observations() const;

private:
    /// One text after the other, and where each ends.
    class Texts {
    public:
        void clear() {
            ends_.resize(1);
            bytes_.clear();
        }
        void append(std::string_view text) {
            if (!text.empty()) { // as keys mostly are
                bytes_ += text;
            }
            ends_.push_back(static_cast<std::int64_t>(bytes_.size()));
        }
        qorvel_engine::TextValues values() const {
            return qorvel_engine::TextValues(ends_.data(), bytes_.data());
        }

    private:
        std::vector<std::int64_t> ends_ = {0}; ///< beginning with that of none
        std::string bytes_;
    };

    Texts entities_;
    std::vector<double> latitudes_;
    std::vector<double> longitudes_;
    std::vector<std::int64_t> times_;
    std::vector<double> accuracies_;
    std::vector<std::uint8_t> hasAccuracy_; ///< a bit a fix, the lowest first
    Texts primaryKeys_;
    Texts secondaryKeys_;
};

} // namespace program

#endif
