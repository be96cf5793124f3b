// A glTF file as it lies on the disk: its text, and what a binary one holds besides.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// All bytes of a file; empty where there is none.
std::vector<unsigned char> readWhole(const std::string& file, Output& output);

/// An open glTF file. The content of a binary one's buffer is read where it is wanted: held whole, beside the arrays
/// that are made of it, it would be half of all the memory that reading takes.
class Container {
 public:
  /// Throws Refusal for a binary file that is not whole.
  Container(const std::string& file, Output& output);

  bool isBinary() const { return m_IsBinary; }
  /// The JSON text, to be taken.
  std::vector<unsigned char> text;
  /// How many bytes a binary file has for its first buffer.
  std::size_t contentSize() const { return m_ContentSize; }
  /// Where they begin in the file.
  std::size_t contentOffset() const { return m_ContentOffset; }
  /// Some of those bytes, which must be among them. Throws Refusal where the file was cut short meanwhile.
  std::vector<unsigned char> content(std::size_t offset, std::size_t size);

 private:
  void openBinary();
  std::vector<unsigned char> read(std::size_t offset, std::size_t size);

  std::ifstream m_File;
  std::size_t m_FileSize = 0, m_ContentOffset = 0, m_ContentSize = 0;
  bool m_IsBinary = false;
  std::vector<unsigned char> m_Ahead;  ///< content that was read with some other
  std::size_t m_AheadOffset = 0;
};

}  // namespace nubo::reader
