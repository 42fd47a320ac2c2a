#ifndef QORVEL_TESTING_MODEL_COMPARE_H
#define QORVEL_TESTING_MODEL_COMPARE_H

#include "qorvel/model/ExtendedSTB.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/SpaceTimeBox.h"

#include <cstdint>
#include <list>
#include <sstream>
#include <string>
#include <tuple>

namespace model {

/// Every field that a host can read, the bits of a cell beyond its depth among them.
inline auto fields(const SpaceTimeBox& box) {
    return std::make_tuple(box.getGeoHashBitDepth(), box.getFirst64Bits(), box.getSecond64Bits(),
                           box.start, box.end);
}

inline auto fields(const ExtendedSTB& box) {
    return std::tuple_cat(fields(static_cast<const SpaceTimeBox&>(box)),
                          std::make_tuple(box.masterId));
}

inline auto fields(const STBCompressedEvent& record) {
    return std::tuple_cat(fields(record.stb),
                          std::tie(record.eid, record.specPrimaryKeyId, record.eventSecondaryKeyId,
                                   record.masterId, record.firstTime, record.endTime,
                                   record.lastTimeBefore, record.firstTimeAfter, record.totalCount,
                                   record.beforeCount, record.afterCount,
                                   record.eventSequenceNumbers));
}

template <class Number>
void print(std::ostream& text, const Number& number) {
    text << ' ' << number;
}

inline void print(std::ostream& text, const std::list<std::uint64_t>& numbers) {
    text << " [";
    for (const std::uint64_t number : numbers) {
        print(text, number);
    }
    text << " ]";
}

template <class Record>
std::string describe(const std::list<Record>& records) {
    std::ostringstream text;
    for (const Record& record : records) {
        std::apply([&text](const auto&... field) { (print(text, field), ...); }, fields(record));
        text << '\n';
    }
    return text.str();
}

template <class Record>
bool same(const std::list<Record>& left, const std::list<Record>& right) {
    auto other = right.begin();
    if (left.size() != right.size()) {
        return false;
    }
    for (const Record& record : left) {
        if (fields(record) != fields(*other++)) {
            return false;
        }
    }
    return true;
}

/// Empty where both lists hold the same records in the same order, else both in full.
template <class Record>
std::string difference(const std::list<Record>& library, const std::list<Record>& model) {
    if (same(library, model)) {
        return {};
    }
    return "library:\n" + describe(library) + "model:\n" + describe(model);
}

} // namespace model

#endif
