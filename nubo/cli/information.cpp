#include "nubo/cli/information.h"

#include <GL/gl.h>

#include <QCoreApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QSysInfo>

#include "kernel/main/commandmanager.h"
#include "kernel/main/modulemanager.h"
#include "module_scene/draw/sharedcontext.h"
#include "module_scene/io/readertable.h"

namespace nubo::app {

QString openGLText() {
  QOpenGLContext context;
  QOffscreenSurface surface;
  surface.create();
  if (!context.create() || !context.makeCurrent(&surface)) return QStringLiteral("none");
  const auto text = [&](GLenum name) {
    return QString::fromLatin1(reinterpret_cast<const char*>(context.functions()->glGetString(name)));
  };
  return QStringLiteral("%1, %2").arg(text(GL_VERSION), text(GL_RENDERER));
}

namespace {

QString infoLine(const main::ThirdPartyInfos& info) {
  QStringList parts;
  for (const QString& part : {info.licence, info.url})
    if (!part.isEmpty()) parts << part;
  return QStringLiteral("    %1 %2%3\n")
      .arg(info.name, info.version, parts.isEmpty() ? QString() : " (" + parts.join(", ") + ")");
}

}  // namespace

QString versionText() {
  QString text = QStringLiteral("nubo %1\nQt %2\nOpenGL %3\n")
                     .arg(QCoreApplication::applicationVersion(), qVersion(), openGLText());
  const main::ModuleManager* modules = main::ModuleManager::getInstance();
  for (const QString& name : modules->names()) {
    main::InformationObject* information = modules->getModule(name)->getInformationObject();
    text += QStringLiteral("Module %1: %2\n").arg(name, information->getDescription());
    for (const main::ThirdPartyInfos& info : *information->getAdditionalInformations()) text += infoLine(info);
  }
  for (const io::ReaderEntry& reader : io::readerTable()) {
    QStringList formats;
    for (const io::ReaderFormat& format : reader.formats) formats << format.description;
    text += QStringLiteral("Reader %1: %2\n").arg(reader.name, formats.join(QStringLiteral(", ")));
    for (const io::ReaderLicence& library : reader.licences)
      text += infoLine({library.name, library.version, library.licence, library.url});
  }
  return text;
}

QString commandListText() {
  QString text;
  const main::CommandManager* commands = main::CommandManager::getInstance();
  for (const QString& name : commands->names())
    text += QStringLiteral("%1  %2\n").arg(name, -20).arg(commands->find(name)->getDescriptor()->getDescription());
  return text;
}

}  // namespace nubo::app
