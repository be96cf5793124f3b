#include "plugins/readers/assimp/filesystem.h"

#include <assimp/MemoryIOWrapper.h>

#include <assimp/IOStream.hpp>
#include <memory>

namespace nubo::reader {

/// Passes everything on.
class FileSystem::Stream : public Assimp::IOStream {
 public:
  Stream(std::unique_ptr<Assimp::IOStream> source, Output& output) : m_Source(std::move(source)), m_Output(output) {}
  std::size_t Read(void* target, std::size_t size, std::size_t count) override {
    constexpr std::size_t WorthTelling = 1 << 16;
    const std::size_t read = m_Source->Read(target, size, count);
    m_Untold += read * size;
    if (m_Untold >= WorthTelling) {
      m_Output.progress(-1);
      m_Untold = 0;
    }
    return read;
  }
  std::size_t Write(const void*, std::size_t, std::size_t) override { return 0; }
  aiReturn Seek(std::size_t offset, aiOrigin origin) override { return m_Source->Seek(offset, origin); }
  std::size_t Tell() const override { return m_Source->Tell(); }
  std::size_t FileSize() const override { return m_Source->FileSize(); }
  void Flush() override {}

 private:
  const std::unique_ptr<Assimp::IOStream> m_Source;
  Output& m_Output;
  std::size_t m_Untold = 0;
};

Assimp::IOStream* FileSystem::Open(const char* name, const char* mode) {
  if (!m_Content.empty() && m_Name == name)
    return new Assimp::MemoryIOStream(reinterpret_cast<const std::uint8_t*>(m_Content.data()), m_Content.size());
  std::unique_ptr<Assimp::IOStream> source(DefaultIOSystem::Open(real(name), mode));
  return source ? new Stream(std::move(source), m_Output) : nullptr;
}

void FileSystem::Close(Assimp::IOStream* stream) { delete stream; }

}  // namespace nubo::reader
