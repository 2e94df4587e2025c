#include "tools/RenderError.hpp"
