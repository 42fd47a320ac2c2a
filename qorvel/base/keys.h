#ifndef QORVEL_BASE_KEYS_H
#define QORVEL_BASE_KEYS_H

namespace qorvel_detail {

/// The primary key whose number rows and specs take as "every key" when it is the first registered.
inline constexpr char kAnyKey[] = "ANY";

} // namespace qorvel_detail

#endif
