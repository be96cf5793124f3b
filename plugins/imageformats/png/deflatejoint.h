// Makes streams of raw deflate that were finished one by one into pieces of a single stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nubo::png {

// Turns a complete deflate stream into one that another may be appended to: clears the mark of its last block and
// ends it on a byte with an empty stored block. Only the lengths of the codes are followed, nothing is inflated, so
// the cost grows with the compressed size. False if `stream` isn't one complete, valid stream; it is then unchanged.
[[nodiscard]] bool openEnd(std::vector<uint8_t>& stream);

}  // namespace nubo::png
