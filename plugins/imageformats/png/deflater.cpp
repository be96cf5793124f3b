#include "plugins/imageformats/png/deflater.h"

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "plugins/imageformats/png/deflatejoint.h"

namespace nubo::png {
namespace {

class FastDeflater : public Deflater {
 public:
  std::vector<uint8_t> deflate(const std::vector<uint8_t>& bytes, bool isEnd) override {
    isal_zstream stream;
    isal_deflate_init(&stream);
    stream.level = 1;
    stream.level_buf = m_working.data();
    stream.level_buf_size = uint32_t(m_working.size());
    stream.flush = isEnd ? NO_FLUSH : FULL_FLUSH;
    stream.end_of_stream = uint16_t(isEnd);
    stream.next_in = const_cast<uint8_t*>(bytes.data());  // it only reads there
    stream.avail_in = uint32_t(bytes.size());
    m_deflated.resize(std::max(m_deflated.size(), bytes.size() / 4 + 1024));
    size_t size = 0;
    for (;;) {
      stream.next_out = m_deflated.data() + size;
      stream.avail_out = uint32_t(m_deflated.size() - size);
      if (isal_deflate(&stream) != COMP_OK) throw std::runtime_error("the rows can't be deflated");
      size = m_deflated.size() - stream.avail_out;
      if (stream.avail_out > 0) break;
      m_deflated.resize(m_deflated.size() * 2);
    }
    return {m_deflated.begin(), m_deflated.begin() + ptrdiff_t(size)};
  }

 private:
  std::vector<uint8_t> m_working = std::vector<uint8_t>(ISAL_DEF_LVL1_DEFAULT);
  std::vector<uint8_t> m_deflated;
};

class ThoroughDeflater : public Deflater {
 public:
  explicit ThoroughDeflater(int level) : mp_compressor(libdeflate_alloc_compressor(level)) {
    if (!mp_compressor) throw std::bad_alloc();
  }

  std::vector<uint8_t> deflate(const std::vector<uint8_t>& bytes, bool isEnd) override {
    m_deflated.resize(libdeflate_deflate_compress_bound(mp_compressor.get(), bytes.size()));
    const size_t size = libdeflate_deflate_compress(mp_compressor.get(), bytes.data(), bytes.size(), m_deflated.data(),
                                                    m_deflated.size());
    if (size == 0) throw std::runtime_error("the rows can't be deflated");
    std::vector<uint8_t> piece;
    piece.reserve(size + 16);
    piece.assign(m_deflated.begin(), m_deflated.begin() + ptrdiff_t(size));
    if (!isEnd && !openEnd(piece)) throw std::runtime_error("the deflated rows can't be continued");
    return piece;
  }

 private:
  struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
  };

  std::unique_ptr<libdeflate_compressor, FreeCompressor> mp_compressor;
  std::vector<uint8_t> m_deflated;
};

}  // namespace

std::unique_ptr<Deflater> makeDeflater(int level) {
  if (level == FastLevel) return std::make_unique<FastDeflater>();
  return std::make_unique<ThoroughDeflater>(level);
}

}  // namespace nubo::png
