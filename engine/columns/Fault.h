#ifndef QORVEL_ENGINE_COLUMNS_FAULT_H
#define QORVEL_ENGINE_COLUMNS_FAULT_H

#include "engine/export.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace qorvel_engine {

/// What kind of fault it is. The numbers never change; they are what other languages see.
enum class FaultCode : std::int32_t {
    badColumn = 1,        ///< a column of a type that is not read, or one that contradicts itself
    missingColumn = 2,    ///< a column that is needed is not there
    badConfiguration = 3, ///< a setting that the engine or the library refuses
    tooLarge = 4,         ///< beyond what the engine counts or keeps
    outOfMemory = 5,      ///< memory ran out
    cancelled = 6,        ///< the caller asked for the end
    misuse = 7,           ///< a call that the state or the arguments do not allow
    internal = 8,         ///< a fault of the engine itself
    badState = 9          ///< a saved state that cannot be taken
};

/// The one exception of the engine, besides std::bad_alloc. A row that cannot be used is no fault:
/// see RowReason.
class QORVEL_ENGINE_EXPORT Fault : public std::runtime_error {
public:
    /// @param sentence  for people: what is wrong, and where
    /// @param tags      the library's error tags, each followed by a comma; may be empty
    /// @param line      of the configuration file that the fault is in, from 1; 0 where there is
    ///                  none
    Fault(FaultCode code, const std::string& sentence, const std::string& tags = {},
          std::uint64_t line = 0);
    Fault(const Fault&) noexcept = default;
    Fault& operator=(const Fault&) noexcept = default;
    ~Fault() override;

    /// What kind it is.
    FaultCode code() const noexcept { return code_; }
    /// The library's error tags, as it wrote them, or an empty text.
    const std::string& tags() const noexcept { return *tags_; }
    /// The line of the configuration file, from 1, or 0.
    std::uint64_t line() const noexcept { return line_; }

private:
    FaultCode code_;
    std::shared_ptr<const std::string> tags_; // a copy of an exception must not throw
    std::uint64_t line_;
};

} // namespace qorvel_engine

#endif
