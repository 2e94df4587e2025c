#include "RenderError.hpp"
