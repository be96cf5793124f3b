// Memory for very large pictures.
#pragma once

#include <cstddef>

#include "picture/visibility.h"

namespace nubo::picture {

/// Has the system give that memory, which is not in use yet, in pieces of some megabytes where it can: page by page it
/// takes longer to get a large picture's memory than to fill it. Without an effect elsewhere.
NUBO_PICTURE_EXPORT void preferHugePages(void* memory, std::size_t bytes);

}  // namespace nubo::picture
