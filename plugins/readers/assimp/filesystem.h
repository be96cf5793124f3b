// How Assimp gets at files.
#pragma once

#include <assimp/DefaultIOSystem.h>

#include <string>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// Reads from the disk. What Assimp reads counts as progress; one file may go under another name, and have another
/// content than on the disk.
class FileSystem : public Assimp::DefaultIOSystem {
 public:
  /// `content` is empty where it is that of the file.
  FileSystem(std::string name, std::string file, std::string content, Output& output)
      : m_Name(std::move(name)), m_File(std::move(file)), m_Content(std::move(content)), m_Output(output) {}

  bool Exists(const char* name) const override { return DefaultIOSystem::Exists(real(name)); }
  Assimp::IOStream* Open(const char* name, const char* mode) override;
  void Close(Assimp::IOStream* stream) override;

 private:
  class Stream;
  const char* real(const char* name) const { return m_Name == name ? m_File.c_str() : name; }

  const std::string m_Name, m_File, m_Content;
  Output& m_Output;
};

}  // namespace nubo::reader
