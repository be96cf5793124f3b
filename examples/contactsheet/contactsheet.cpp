// A module with one command, "contactsheet", which draws a model from six sides onto one sheet. It renders each view
// with the programmatic form of the command GrabImage, off-screen and at any size.
#define NUBO_LOG_SOURCE "contactsheet"

#include <QFileDialog>
#include <QImage>
#include <QPainter>
#include <memory>
#include <optional>

#include "kernel/log/logger.h"
#include "kernel/main/command.h"
#include "kernel/main/module.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "module_grab/commands/grabimage.h"
#include "module_scene/gui/framing.h"
#include "module_scene/gui/viewer.h"

namespace {

using namespace nubo;

constexpr int Columns = 3;
constexpr const char* Views[] = {"front", "right", "top", "back", "left", "bottom"};

constexpr char Execute[] = "ContactSheet::execute";

class ContactSheet : public main::Command {
 public:
  ContactSheet()
      : Command(new main::CommandDescriptor(QObject::tr("Draws six views onto one sheet"), "contactsheet"),
                new main::CommandGUIDescriptor(main::CommandGUIDescriptor::Menu, "Grab", 30, "contactsheet",
                                               QObject::tr("Contact sheet"), nullptr)),
        mp_FileFactory(new main::FileParameterPanelFactory(&ContactSheet::createSaveDialog)) {
    m_Placement = main::CommandGUIDescriptor::Menu;
    main::ParameterSet set(1, QString());
    auto* fileName = new main::Parameter<QString>("filename", QObject::tr("File of the sheet"), QString(), true,
                                                  mp_FileFactory.get());
    set.addParameter(fileName);
    auto* width = new main::Parameter<int>("width", QObject::tr("Width of one view"), "px", true, nullptr);
    width->setDefaultParameterForDefaultGUI("800");
    set.addParameter(width);
    m_ParameterSets.push_back(set);
  }

  static Command* create() { return new ContactSheet; }

  /// On a command thread, where it may take its time.
  void execute() override {
    const auto* parameters = mp_CurrentParameterSet->getParameterList();
    const QString fileName = *parameters->at(0)->getValue<QString>();
    const int width = *parameters->at(1)->getValue<int>();
    const int height = width * 3 / 4;
    if (height < 2)
      return NUBO_LOG(log::Failure, Execute, QStringLiteral("Views of %1 pixels are too narrow").arg(width));

    QImage sheet(Columns * width, 2 * height, QImage::Format_ARGB32);
    if (sheet.isNull())
      return NUBO_LOG(log::Failure, Execute, QStringLiteral("Views of %1 pixels are too wide").arg(width));
    sheet.fill(Qt::transparent);
    QPainter painter(&sheet);
    for (int i = 0; i < 6; ++i) {
      updateProcessed(100 * i / 6);
      updateText(QString::fromLatin1(Views[i]));
      const std::optional<QImage> view = grab(Views[i], width, height);
      if (!view) return NUBO_LOG(log::Failure, Execute, "The scene cannot be drawn");
      painter.drawImage(i % Columns * width, i / Columns * height, *view);
    }
    painter.end();
    if (!sheet.save(fileName)) NUBO_LOG(log::Failure, Execute, QStringLiteral("Couldn't save '%1'").arg(fileName));
  }

 private:
  static std::optional<QImage> grab(const char* view, int width, int height) {
    gui::Camera camera;
    const bool known = camera.setView(view);
    {
      const auto scene = gui::Viewer::getInstance()->getGlobalScene();
      const scene::SceneLocker lock(scene, scene::LockAll);
      const auto root = scene->getRootNode();
      if (!known || !root) return std::nullopt;
      gui::Framing framing(camera, root->getBoundingBox());
      framing.add(*root);
      camera = framing.camera(width, height);
    }

    // Image and matrix stay the caller's; a panel, which the user could close meanwhile, is not needed. Handed over on
    // a command thread, the command runs right here.
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    const math::Matrix4 transform = camera.transform();
    commands::grab::GrabImage command(&image, &transform, nullptr);
    auto* processor = main::Overseer::getInstance()->getCommandProcessor();
    if (!processor->processCommand(&command, main::CommandProcessor::Wait, true)) return std::nullopt;
    return image;
  }

  static QFileDialog* createSaveDialog() {
    auto* dialog = new QFileDialog(nullptr, QObject::tr("Save contact sheet"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter("PNG (*.png)");
    dialog->setDefaultSuffix("png");
    return dialog;
  }

  std::unique_ptr<main::FileParameterPanelFactory> mp_FileFactory;
};

/// Makes the module. The host deletes the module and its information object, then has the factory recycled.
class Factory : public main::ModuleFactory {
 public:
  Factory() { registerPrimaryCommand(&ContactSheet::create); }
  main::Module* createModule() override {
    return new main::Module(
        new main::InformationObject("Draws contact sheets", "Contact sheet", QIcon(), QUrl(), QUrl()));
  }
};

Factory* factory = nullptr;

}  // namespace

extern "C" Q_DECL_EXPORT main::ModuleFactory* getFactory() {
  if (!factory) factory = new Factory;
  return factory;
}

extern "C" Q_DECL_EXPORT void recycleFactory() {
  delete factory;
  factory = nullptr;
}
