#ifndef QORVEL_ENGINE_RUN_DETAIL_REFUSESTATE_H
#define QORVEL_ENGINE_RUN_DETAIL_REFUSESTATE_H

#include "qorvel/base/StateFrame.h"

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace qorvel_engine::detail {

/// Throws the Fault `badState` for bytes whose check sums are right and whose contents cannot be.
void expectGood(bool isGood);

/// The bytes taken apart, see StateFrame::read. Throws the Fault `badState`,
/// with a sentence that says why, unless they are what is wanted.
qorvel_detail::StateFrame frameOf(std::string_view bytes, std::uint32_t kind,
                                  std::uint64_t fingerprint,
                                  std::initializer_list<std::uint32_t> known);

} // namespace qorvel_engine::detail

#endif
