// COLLADA documents that lie in an archive with their textures.
#pragma once

#include <cstdint>
#include <string>

struct zip;
struct zip_source;

namespace nubo::reader {

/// A .zae file in memory; nothing is written elsewhere.
class ColladaArchive {
 public:
  explicit ColladaArchive(std::string content);
  ~ColladaArchive();
  ColladaArchive(const ColladaArchive&) = delete;
  ColladaArchive& operator=(const ColladaArchive&) = delete;

  /// The document that the manifest names or, where there is none, the first; empty where there is no such thing.
  std::string document() const;
  /// The same archive with another text as its document; empty where that cannot be made. Called last.
  std::string with(const std::string& text);

 private:
  std::int64_t findDocument() const;
  std::string read(std::int64_t entry) const;

  const std::string m_Content;
  zip_source* mp_Source = nullptr;
  zip* mp_Archive = nullptr;  ///< null if it is no archive
};

}  // namespace nubo::reader
