#include "plugins/readers/assimp/colladaarchive.h"

#include <zip.h>

#include <pugixml.hpp>
#include <utility>

namespace nubo::reader {
namespace {

constexpr std::int64_t None = -1;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

ColladaArchive::ColladaArchive(std::string content) : m_Content(std::move(content)) {
  mp_Source = zip_source_buffer_create(m_Content.data(), m_Content.size(), 0, nullptr);
  if (!mp_Source) return;
  zip_source_keep(mp_Source);  // beyond the archive, which has changes written there
  mp_Archive = zip_open_from_source(mp_Source, 0, nullptr);
  if (!mp_Archive) zip_source_free(mp_Source);
}

ColladaArchive::~ColladaArchive() {
  if (mp_Archive) zip_discard(mp_Archive);
  if (mp_Source) zip_source_free(mp_Source);
}

std::int64_t ColladaArchive::findDocument() const {
  if (!mp_Archive) return None;
  if (const std::int64_t manifest = zip_name_locate(mp_Archive, "manifest.xml", ZIP_FL_NOCASE); manifest >= 0) {
    pugi::xml_document parsed;
    parsed.load_string(read(manifest).c_str());
    std::string name = parsed.child_value("dae_root");
    if (name.compare(0, 2, "./") == 0) name.erase(0, 2);
    if (const std::int64_t found = zip_name_locate(mp_Archive, name.c_str(), 0); found >= 0) return found;
  }
  for (std::int64_t entry = 0; entry < zip_get_num_entries(mp_Archive, 0); ++entry)
    if (const char* name = zip_get_name(mp_Archive, zip_uint64_t(entry), 0); name && endsWith(name, ".dae"))
      return entry;
  return None;
}

/// What an entry says of its size need not be true, so that memory comes as its content does.
std::string ColladaArchive::read(std::int64_t entry) const {
  constexpr std::size_t Piece = 1 << 16;
  std::string text;
  zip_file_t* file = zip_fopen_index(mp_Archive, zip_uint64_t(entry), 0);
  for (zip_int64_t some = file ? 1 : 0; some > 0;) {
    const std::size_t before = text.size();
    text.resize(before + Piece);
    some = zip_fread(file, &text[before], Piece);
    text.resize(before + std::size_t(some > 0 ? some : 0));
  }
  if (file) zip_fclose(file);
  return text;
}

std::string ColladaArchive::document() const {
  const std::int64_t entry = findDocument();
  return entry == None ? std::string() : read(entry);
}

std::string ColladaArchive::with(const std::string& text) {
  const auto entry = zip_uint64_t(findDocument());
  zip_source_t* changed = zip_source_buffer(mp_Archive, text.data(), text.size(), 0);
  if (!changed || zip_file_replace(mp_Archive, entry, changed, 0) != 0) return {};
  zip_set_file_compression(mp_Archive, entry, ZIP_CM_STORE, 0);  // for it is read at once
  if (zip_close(mp_Archive) != 0) return {};
  mp_Archive = nullptr;
  zip_stat_t size;
  zip_stat_init(&size);
  if (zip_source_stat(mp_Source, &size) != 0 || zip_source_open(mp_Source) != 0) return {};
  std::string whole(std::size_t(size.size), '\0');
  const zip_int64_t got = zip_source_read(mp_Source, whole.data(), whole.size());
  zip_source_close(mp_Source);
  return got == zip_int64_t(whole.size()) ? whole : std::string();
}

}  // namespace nubo::reader
