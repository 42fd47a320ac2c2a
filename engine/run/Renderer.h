#ifndef QORVEL_ENGINE_RUN_RENDERER_H
#define QORVEL_ENGINE_RUN_RENDERER_H

#include "engine/columns/ResultTable.h"
#include "engine/export.h"

#include <cstddef>
#include <string>

namespace qorvel_engine {

/// Makes texts of results, in the threads that found them.
class QORVEL_ENGINE_EXPORT Renderer {
public:
    Renderer() = default;
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;
    virtual ~Renderer();

    /// Appends the text of a row. Called by several threads at once; what it throws ends the
    /// session.
    virtual void append(std::string& out, const ResultTable& table, std::size_t row) const = 0;
};

} // namespace qorvel_engine

#endif
