// Which readers there are, and which of them a file is for. No reader's library is touched for it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <vector>

#include "module_scene/visibility.h"

namespace nubo::io {

/// A library that a reader comes with.
struct ReaderLicence {
  QString name, version, licence, url;
};

/// First bytes by which a file is known.
struct Signature {
  QByteArray bytes;
  int at = 0;      ///< where they stand
  int within = 0;  ///< above 0: they stand somewhere in as many bytes instead
};

struct ReaderFormat {
  QStringList suffixes;  ///< without dots, lower case
  QString description;
  std::vector<Signature> signatures;  ///< any of them; none: the format is known by suffixes only
  bool contentOnly = false;           ///< a suffix alone does not make a file one of this format
  bool inMetres = false;              ///< files say how long their numbers are, and models come in metres
};

/// A reader plug-in, as the file beside its library tells.
struct ReaderEntry {
  QString name, library;
  std::vector<ReaderFormat> formats;
  std::vector<ReaderLicence> licences;
};

/// A reader with the format that it is to read.
struct ReaderChoice {
  const ReaderEntry* reader = nullptr;  ///< null: there is none
  QString format;                       ///< a suffix
  bool knownByContent = false;
};

/// The readers in bin/plugins/readers of the program and, before those, in nubo/plugins/readers of the user's data
/// folders. Read on first use. Any thread.
NUBO_MODULE_SCENE_EXPORT const std::vector<ReaderEntry>& readerTable();

/// The readers whose descriptions lie in these folders; what is not understood is logged, and left out.
NUBO_MODULE_SCENE_EXPORT std::vector<ReaderEntry> readReaderTable(const QStringList& folders);

/// The reader of a file: by the first bytes where they tell, else by the suffix.
NUBO_MODULE_SCENE_EXPORT ReaderChoice chooseReader(const std::vector<ReaderEntry>& readers, const QString& suffix,
                                                   const QByteArray& firstBytes);

/// How many first bytes chooseReader wants.
constexpr int FirstBytes = 4096;

}  // namespace nubo::io
