// Deflates runs of bytes into pieces of one stream.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace nubo::png {

// Works on one run after the other, in memory of its own; one for each thread.
class Deflater {
 public:
  virtual ~Deflater() = default;

  // A piece of a raw deflate stream: its end, or one that ends on a byte and that another may be appended to. What
  // comes before or after has no part in it. At FastLevel one piece of some thousands has been seen to be another one
  // in another run, on busy processors, for reasons that are not known; inflated it is the same. Throws std::bad_alloc,
  // and std::runtime_error if they can't be deflated.
  virtual std::vector<uint8_t> deflate(const std::vector<uint8_t>& bytes, bool isEnd) = 0;
};

// At this level, and only there, another library deflates, which takes an eighth of the time for an eighth more bytes.
constexpr int FastLevel = 1;

// `level`: 0 stores, FastLevel is fast, and from there to 12 pieces get smaller. Throws std::bad_alloc.
std::unique_ptr<Deflater> makeDeflater(int level);

}  // namespace nubo::png
