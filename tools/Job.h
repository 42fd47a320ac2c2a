#ifndef QORVEL_TOOLS_JOB_H
#define QORVEL_TOOLS_JOB_H

#include "tools/ResultWriter.h"
#include "tools/Setup.h"

#include <cstdint>
#include <memory>
#include <string>

namespace host {

/// What a command does with events; results go to the writer.
class Job {
public:
    virtual ~Job() = default;

    virtual void begin() = 0;
    virtual void take(const Event& event, const std::string& entity) = 0;

    /// Forgets what ended before this time, where the job keeps anything.
    virtual void collect(std::int64_t time) = 0;

    /// Writes what could not be written earlier.
    virtual void end() = 0;
};

/// The job of a command other than synth. `setup` and `writer` must outlive it.
std::unique_ptr<Job> makeJob(const Options& options, Setup& setup, ResultWriter& writer);

} // namespace host

#endif
