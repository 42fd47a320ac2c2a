#include "engine/run/Renderer.h"

namespace qorvel_engine {

Renderer::~Renderer() = default;

} // namespace qorvel_engine
