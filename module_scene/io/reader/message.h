// What the program and its reading process say to each other, over a socket that keeps messages apart.
#pragma once

#include <cstdint>

namespace nubo::reader {

/// The helper's end of the socket.
constexpr int HelperSocket = 3;
/// The texts behind a message are no longer; what is longer is cut.
constexpr std::size_t LongestText = 2000;

struct Message {
  enum Kind : std::uint32_t {
    Progress,     ///< value: thousandths; above 1000: nobody knows
    Warning,      ///< with a text
    Unprotected,  ///< the sandbox, or part of it, is not to be had; with a text
    Block,        ///< value: bytes; answered with a descriptor, or with nothing where that is too much
    Refused,      ///< the end: with a text
    Done          ///< the end: a record of `value` bytes lies at the begin of the last block
  };
  std::uint32_t kind = Progress;
  std::uint32_t reserved = 0;
  std::uint64_t value = 0;
};

}  // namespace nubo::reader
