#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_VISITORS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_VISITORS_H

#include "qorvel/processor/detail/FigureProcessor.h"

#include <utility>

namespace qorvel_engine::detail {

/// Calls a function with what a processor finds; it stands on the stack and allocates nothing.
template <class Visit>
class FigureVisitor : public qorvel_port::FigureSink {
public:
    explicit FigureVisitor(Visit visit) : visit_(std::move(visit)) {}
    void take(const qorvel_port::Figures& figures) override { visit_(figures); }

private:
    Visit visit_;
};

} // namespace qorvel_engine::detail

#endif
