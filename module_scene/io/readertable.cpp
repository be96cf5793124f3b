#include "module_scene/io/readertable.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <algorithm>

#include "kernel/log/logger.h"
#include "kernel/util/libraryfile.h"
#include "kernel/util/pluginfolders.h"

namespace nubo::io {
namespace {

QStringList readerFolders() {
  QStringList folders = QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
  for (QString& folder : folders) folder += QStringLiteral("/nubo/plugins/readers");
  folders << util::folderOfLibrary(reinterpret_cast<const void*>(&readerFolders)) +
                 QStringLiteral("/../bin/plugins/readers");
  folders += util::furtherPluginFolders(QStringLiteral("plugins/readers"));
  folders.removeDuplicates();
  return folders;
}

Signature readSignature(const QJsonObject& source) {
  Signature signature;
  signature.bytes = QByteArray::fromHex(source[QStringLiteral("hex")].toString().toLatin1());
  if (signature.bytes.isEmpty()) signature.bytes = source[QStringLiteral("text")].toString().toUtf8();
  signature.at = std::max(0, source[QStringLiteral("at")].toInt());
  signature.within = source[QStringLiteral("within")].toInt();
  return signature;
}

ReaderFormat readFormat(const QJsonObject& source) {
  ReaderFormat format;
  for (const auto& suffix : source[QStringLiteral("suffixes")].toArray())
    if (!suffix.toString().isEmpty()) format.suffixes << suffix.toString().toLower();
  format.contentOnly = source[QStringLiteral("contentOnly")].toBool();
  format.inMetres = source[QStringLiteral("inMetres")].toBool();
  format.description = source[QStringLiteral("description")].toString();
  for (const auto& signature : source[QStringLiteral("begins")].toArray()) {
    format.signatures.push_back(readSignature(signature.toObject()));
    if (format.signatures.back().bytes.isEmpty()) format.signatures.pop_back();
  }
  return format;
}

ReaderLicence readLicence(const QJsonObject& source) {
  const auto text = [&](const char* key) { return source[QLatin1String(key)].toString(); };
  return {text("name"), text("version"), text("licence"), text("url")};
}

/// `fault` tells what is wrong with a description that makes no sense.
ReaderEntry readEntry(const QFileInfo& description, QString& fault) {
  ReaderEntry entry;
  QFile file(description.filePath());
  QJsonParseError error{};
  const bool isOpen = file.open(QIODevice::ReadOnly);
  const QJsonObject source = QJsonDocument::fromJson(isOpen ? file.readAll() : QByteArray(), &error).object();
  entry.name = description.completeBaseName();
  entry.library = description.dir().filePath(source[QStringLiteral("library")].toString());
  for (const auto& format : source[QStringLiteral("formats")].toArray()) {
    entry.formats.push_back(readFormat(format.toObject()));
    if (entry.formats.back().suffixes.isEmpty()) entry.formats.pop_back();
  }
  for (const auto& licence : source[QStringLiteral("licences")].toArray())
    entry.licences.push_back(readLicence(licence.toObject()));
  if (!isOpen)
    fault = file.errorString();
  else if (error.error != QJsonParseError::NoError)
    fault = QStringLiteral("%1 at byte %2").arg(error.errorString()).arg(error.offset);
  else if (!QFileInfo(entry.library).isFile())
    fault = QStringLiteral("there is no file '%1', its \"library\"").arg(entry.library);
  else if (entry.formats.empty())
    fault = QStringLiteral("none of its \"formats\" has \"suffixes\"");
  return entry;
}

bool matches(const Signature& signature, const QByteArray& bytes) {
  if (signature.within > 0) return bytes.left(signature.within).contains(signature.bytes);
  return bytes.mid(signature.at, signature.bytes.size()) == signature.bytes;
}

bool matches(const ReaderFormat& format, const QByteArray& bytes) {
  return std::any_of(format.signatures.begin(), format.signatures.end(),
                     [&](const Signature& signature) { return matches(signature, bytes); });
}

}  // namespace

std::vector<ReaderEntry> readReaderTable(const QStringList& folders) {
  std::vector<ReaderEntry> readers;
  for (const QString& folder : folders)
    for (const QFileInfo& description : QDir(folder).entryInfoList({QStringLiteral("*.json")}, QDir::Files)) {
      QString fault;
      ReaderEntry entry = readEntry(description, fault);
      if (fault.isEmpty())
        readers.push_back(std::move(entry));
      else
        NUBO_LOG(log::Failure, "nubo::io::readReaderTable",
                 QStringLiteral("%1 describes no reader that is there: %2").arg(description.filePath(), fault));
    }
  return readers;
}

const std::vector<ReaderEntry>& readerTable() {
  static const std::vector<ReaderEntry> table = readReaderTable(readerFolders());
  return table;
}

ReaderChoice chooseReader(const std::vector<ReaderEntry>& readers, const QString& suffix, const QByteArray& bytes) {
  ReaderChoice byContent, bySuffix;
  for (const ReaderEntry& reader : readers)
    for (const ReaderFormat& format : reader.formats) {
      const bool named = format.suffixes.contains(suffix), begins = matches(format, bytes);
      if (named && begins) return {&reader, suffix, true};
      if (named && !format.contentOnly && !bySuffix.reader) bySuffix = {&reader, suffix, false};
      if (begins && !byContent.reader) byContent = {&reader, format.suffixes.first(), true};
    }
  return byContent.reader ? byContent : bySuffix;
}

}  // namespace nubo::io
