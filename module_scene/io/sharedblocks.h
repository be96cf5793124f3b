// Memory that the reading process writes, and the program only reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "module_scene/io/reader/record.h"

namespace nubo::io {

/// Blocks of memory that this process makes and the other one fills. Their sizes can never change. Used on one
/// thread, but for release() and keep().
class SharedBlocks {
 public:
  explicit SharedBlocks(std::uint64_t limit) : m_Left(limit) {}
  ~SharedBlocks();
  SharedBlocks(const SharedBlocks&) = delete;
  SharedBlocks& operator=(const SharedBlocks&) = delete;

  /// A descriptor of a new block, which stays here, too; -1 where that would be too much.
  int add(std::uint64_t size);
  /// From now on nobody can write. The other process must have ended; throws ImportError if somebody still could.
  void seal();
  /// The record at the begin of the last block. The blocks must be sealed.
  reader::Model readRecord(std::uint64_t size);
  /// The memory behind an array of the record. Throws reader::BadRecord for what is not there.
  void* find(const reader::Place& place, std::size_t size, std::size_t alignment);
  /// Called once for each array of the record when it is done with: memory that no other needs is freed. On any thread.
  void release(const void* array);
  /// Keeps the memory of an array where it is for as long as the returned pointer or a copy of it lives, even beyond
  /// this object; from any thread. It is never written again.
  std::shared_ptr<const char> keep(const void* array) const;

 private:
  struct Block {
    int descriptor = -1;
    std::uint64_t size = 0;
    std::shared_ptr<char> memory;  ///< mapped when it is first asked for
    std::size_t users = 0;         ///< arrays that lie here

    bool holds(const void* array) const { return memory && array >= memory.get() && array < memory.get() + size; }
  };
  static void free(Block& block);

  std::uint64_t m_Left;  ///< bytes that may still be asked for
  std::uint64_t m_Readable = 0;
  std::vector<Block> m_Blocks;
  mutable std::mutex m_Mutex;  ///< guards who uses the blocks, once the record is read
};

}  // namespace nubo::io
