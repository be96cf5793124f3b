// Text files that begin with a mark of their coding.
#pragma once

#include <string>

namespace nubo::reader {

/// The content of a file that begins with the mark of UTF-8 or UTF-16, without it and in UTF-8, since not all that read
/// text know marks; empty for any other file.
std::string contentOfMarkedText(const std::string& fileName);

}  // namespace nubo::reader
