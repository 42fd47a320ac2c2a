#ifndef QORVEL_HANGOUT_DETAIL_HANGOUTDETECTORSTATE_H
#define QORVEL_HANGOUT_DETAIL_HANGOUTDETECTORSTATE_H

#include "qorvel/hangout/HangoutDetector.h"
#include "qorvel/hangout/detail/DetectorState.h"

QORVEL_BEGIN_NAMESPACE

class QORVEL_NO_EXPORT HangoutDetector::State : public qorvel_detail::DetectorState {};

QORVEL_END_NAMESPACE

#endif
