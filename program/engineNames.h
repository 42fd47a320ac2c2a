#ifndef QORVEL_PROGRAM_ENGINENAMES_H
#define QORVEL_PROGRAM_ENGINENAMES_H

namespace qorvel_engine {}

/// The program calls what it has of the engine by its short names.
namespace program {
using namespace qorvel_engine; // NOLINT(google-build-using-namespace): see above
}

#endif
