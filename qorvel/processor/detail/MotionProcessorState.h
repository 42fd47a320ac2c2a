#ifndef QORVEL_PROCESSOR_DETAIL_MOTIONPROCESSORSTATE_H
#define QORVEL_PROCESSOR_DETAIL_MOTIONPROCESSORSTATE_H

#include "qorvel/processor/MotionProcessor.h"
#include "qorvel/processor/detail/ProcessorState.h"

QORVEL_BEGIN_NAMESPACE

class QORVEL_NO_EXPORT MotionProcessor::State : public qorvel_detail::ProcessorState {
public:
    using ProcessorState::ProcessorState;
};

QORVEL_END_NAMESPACE

#endif
