// Text files in UTF-16.
#pragma once

#include <string>

namespace nubo::reader {

/// The content of a file that begins with UTF-16's mark, in UTF-8; empty for any other. Not all that read text know it.
std::string contentOfUtf16(const std::string& fileName);

}  // namespace nubo::reader
