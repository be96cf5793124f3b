// What the reading process may do: read files, and no more.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nubo::read {

/// Shuts this process in, for good: no files but those of libraries and in and below `folders`, nothing written, no
/// network, no other programs, `memory` bytes at most. Returns a text for each part that is not to be had here.
std::vector<std::string> enterSandbox(const std::vector<std::string>& folders, std::uint64_t memory);

}  // namespace nubo::read
