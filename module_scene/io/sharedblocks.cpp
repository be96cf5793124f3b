#include "module_scene/io/sharedblocks.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "module_scene/io/importerror.h"

namespace nubo::io {
namespace {

// More than any reader needs, and less than a process may have files open.
constexpr std::size_t MostBlocks = 600;

}  // namespace

SharedBlocks::~SharedBlocks() {
  for (Block& block : m_Blocks) free(block);
}

void SharedBlocks::free(Block& block) {
  if (block.descriptor >= 0) close(block.descriptor);
  block = {};
}

int SharedBlocks::add(std::uint64_t size) {
  if (size == 0 || size > m_Left || m_Blocks.size() >= MostBlocks) return -1;
  Block block;
  block.size = size;
  block.descriptor = memfd_create("nubo-read", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (block.descriptor < 0) return -1;
  if (ftruncate(block.descriptor, off_t(size)) != 0 ||
      fcntl(block.descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW) != 0) {
    free(block);
    return -1;
  }
  m_Left -= size;
  m_Readable += size;
  m_Blocks.push_back(block);
  return block.descriptor;
}

void SharedBlocks::seal() {
  // Who looks at the memory of processes, as system monitors do, keeps that of one that has ended until it has seen it.
  constexpr int MostTries = 2000;  // a millisecond each
  int tries = 0;
  for (const Block& block : m_Blocks)
    while (fcntl(block.descriptor, F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SEAL) != 0) {
      if (errno != EBUSY || ++tries > MostTries)
        throw ImportError(ImportError::tr("its reader does not let go of what it has read"));
      usleep(1000);
    }
}

reader::Model SharedBlocks::readRecord(std::uint64_t size) {
  if (m_Blocks.empty() || size == 0) throw reader::BadRecord();
  const reader::Place place{std::uint32_t(m_Blocks.size() - 1), 0};
  // Arrays may share memory, but nobody needs the same bytes very often.
  constexpr std::uint64_t Sharing = 64;
  m_Readable *= Sharing;
  const auto* record = static_cast<const char*>(find(place, std::size_t(size), 1));
  reader::Model model;
  reader::RecordReader<SharedBlocks> records(record, std::size_t(size), *this);
  records(model);
  release(record);
  return model;
}

void* SharedBlocks::find(const reader::Place& place, std::size_t size, std::size_t alignment) {
  if (place.block >= m_Blocks.size() || size > m_Readable) throw reader::BadRecord();
  Block& block = m_Blocks[place.block];
  if (place.offset > block.size || size > block.size - place.offset || place.offset % alignment != 0)
    throw reader::BadRecord();
  if (!block.memory) {
    void* memory = mmap(nullptr, block.size, PROT_READ, MAP_SHARED, block.descriptor, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    block.memory = {static_cast<char*>(memory), [size = block.size](char* mapped) { munmap(mapped, size); }};
  }
  m_Readable -= size;
  ++block.users;
  return block.memory.get() + place.offset;
}

void SharedBlocks::release(const void* array) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  for (Block& block : m_Blocks) {
    if (!block.holds(array)) continue;
    if (--block.users == 0) free(block);
    return;
  }
}

std::shared_ptr<const char> SharedBlocks::keep(const void* array) const {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  const auto found =
      std::find_if(m_Blocks.begin(), m_Blocks.end(), [array](const Block& block) { return block.holds(array); });
  return found == m_Blocks.end() ? nullptr : found->memory;
}

}  // namespace nubo::io
