// Long lists that are about to be filled.
#pragma once

#include <vector>

#include "kernel/util/largememory.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

/// As util::listWithRoom, where all of `size` values will come. To get a long list's memory takes longer than to fill
/// it, so that all cores ask for some of it.
template <class T>
std::vector<T> readyList(std::size_t size) {
  constexpr std::size_t Piece = std::size_t(4) << 20;  // bytes
  constexpr std::size_t PiecesWorthAThread = 2;        // so that short lists, of which there may be many, wake no other
  std::vector<T> list = util::listWithRoom<T>(size);
  const std::size_t bytes = size * sizeof(T);
  parallelRanges((bytes + Piece - 1) / Piece,
                 [&](std::size_t first, std::size_t last, std::size_t) {
                   char* const memory = reinterpret_cast<char*>(list.data());
                   util::touchPages(memory + first * Piece, std::min(last * Piece, bytes) - first * Piece);
                 },
                 PiecesWorthAThread);
  return list;
}

}  // namespace nubo::scene
