#include "module_poster/moduleposter.h"

#include <libdeflate.h>
#include <tiffio.h>
#include <zstd.h>

#include <QObject>
#include <QUrl>

#include "module_poster/image/icon.h"
#include "module_poster/visibility.h"

// Qt's resource macros declare functions, which must lie outside of namespaces.
static void initResources() { Q_INIT_RESOURCE(module_poster); }
static void cleanupResources() { Q_CLEANUP_RESOURCE(module_poster); }

namespace nubo::poster {

namespace {

/// "4.5.0" of "LIBTIFF, Version 4.5.0" and a line of copyright.
QString tiffVersion() {
  const QString text = QString::fromLatin1(TIFFGetVersion()).section('\n', 0, 0);
  return text.section(' ', -1);
}

void addLibraries(QList<main::ThirdPartyInfos>& infos) {
  const QString bsd = QStringLiteral("BSD-3-Clause");
  infos.append({QStringLiteral("libtiff"), tiffVersion(), QStringLiteral("libtiff licence"),
                QStringLiteral("https://libtiff.gitlab.io/libtiff/")});
  infos.append({QStringLiteral("Zstandard"), QString::fromLatin1(ZSTD_versionString()), bsd,
                QStringLiteral("https://facebook.github.io/zstd/")});
  infos.append({QStringLiteral("libdeflate"), QStringLiteral(LIBDEFLATE_VERSION_STRING), QStringLiteral("MIT"),
                QStringLiteral("https://github.com/ebiggers/libdeflate")});
#ifdef NUBO_VIEWER_VERSION
  infos.append({QStringLiteral("OpenSeadragon"), QStringLiteral(NUBO_VIEWER_VERSION), bsd,
                QStringLiteral("https://openseadragon.github.io")});
#endif
}

}  // namespace

ModulePoster::ModulePoster(main::InformationObject* information) : Module(information) {}

ModulePoster::Factory* ModulePoster::Factory::mp_This = nullptr;

ModulePoster::Factory* ModulePoster::Factory::getInstance() {
  if (!mp_This) mp_This = new Factory;
  return mp_This;
}

ModulePoster::Factory::Factory() {
  // The first instance is made while the library loads, before the resources register themselves.
  initResources();
  mp_Information = new main::InformationObject(QStringLiteral("Makes posters: pictures larger than memory"),
                                               QStringLiteral("Poster"), loadIcon(), QUrl(), QUrl());
  addLibraries(*mp_Information->getAdditionalInformations());
}

ModulePoster::Factory::~Factory() {
  cleanupResources();
  mp_This = nullptr;
}

main::Module* ModulePoster::Factory::createModule() { return new ModulePoster(mp_Information); }

}  // namespace nubo::poster

extern "C" {

NUBO_MODULE_POSTER_EXPORT nubo::main::ModuleFactory* getFactory() {
  return nubo::poster::ModulePoster::Factory::getInstance();
}

NUBO_MODULE_POSTER_EXPORT void recycleFactory() { delete nubo::poster::ModulePoster::Factory::getInstance(); }

}  // extern "C"
