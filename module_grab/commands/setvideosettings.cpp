#include "module_grab/commands/setvideosettings.h"

#include <QSettings>
#include <QSlider>
#include <algorithm>
#include <boost/bind/bind.hpp>

#include "kernel/events/eventmanager.h"
#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/main/parametervalues.h"
#include "module_grab/events.h"
#include "module_grab/modulegrab.h"
#include "module_grab/videosettings.h"

namespace nubo::commands::grab {

namespace {

using main::newParameter;
using main::solveParameter;

const nubo::grab::GrabEvents GrabEvents;
const nubo::grab::GlobalEvents GlobalEvents;

const char CommandName[] = "setvideosettings";

const char ChunkSizeKey[] = "settings/grabvideotempfilesize";
const char FpsKey[] = "settings/grabvideofps";
const char BitrateKey[] = "settings/grabvideokbps";
const char UseMemoryKey[] = "settings/grabvideousememoryasbuffer";

constexpr int MinimalChunkSize = 1;  // megabytes
constexpr int MaximalChunkSize = 1000;
constexpr int MinimalFps = 1;
constexpr int MinimalBitrate = 100;  // kilobits per second

QString flagText(bool flag) { return flag ? QStringLiteral("1") : QStringLiteral("0"); }

/// Stores a value and makes it the one that the parameter shows.
void store(const char* key, const QVariant& value, main::AbstractParameter* parameter, const QString& text) {
  main::nuboSettings()->setValue(key, value);
  parameter->setDefaultParameterForDefaultGUI(text);
}

}  // namespace

bool SetVideoSettings::m_Registered =
    nubo::grab::ModuleGrab::ModuleGrabFactory::getInstance()->registerPrimaryCommand(&SetVideoSettings::create);

main::Command* SetVideoSettings::create() { return new SetVideoSettings; }

SetVideoSettings::SetVideoSettings()
    : SettingsCommand(new main::CommandDescriptor(QStringLiteral("Sets the video settings"), CommandName), nullptr) {
  m_Placement = 0;
  addParameters();
  m_GUIDescriptors.push_back(std::make_unique<main::CommandGUIDescriptor>(main::CommandGUIDescriptor::Settings,
                                                                          QObject::tr("Grab"), 10, CommandName,
                                                                          QObject::tr("Video settings"), nullptr));
}

SetVideoSettings::~SetVideoSettings() = default;

void SetVideoSettings::addParameters() {
  const QSettings* settings = main::nuboSettings();
  mp_SliderFactory =
      std::make_unique<main::SliderParameterPanelFactory>(boost::bind(&SetVideoSettings::createSlider, this));
  auto* chunkSize =
      newParameter<int>("max. tempfile-size (MB)", QObject::tr("The max. filesize of a temp. encoding chunk"));
  chunkSize->setParameterPanelFactory(mp_SliderFactory.get());
  auto* fps = newParameter<int>("fps", QObject::tr("Frames per second"));
  fps->setDefaultParameterForDefaultGUI(QString::number(settings->value(FpsKey, "25").toInt()));
  auto* bitrate = newParameter<int>("bitrate", QObject::tr("Target bitrate in kbps"));
  bitrate->setDefaultParameterForDefaultGUI(QString::number(settings->value(BitrateKey, "1200").toInt()));
  auto* useMemory = newParameter<bool>(
      "use memory buffer",
      QObject::tr("If enabled (1=true, 0=false) memory will be used first to buffer temporary data"));
  useMemory->setDefaultParameterForDefaultGUI(flagText(settings->value(UseMemoryKey, "1").toBool()));

  main::ParameterSet set(0, QObject::tr("Video"));
  set.addParameter(chunkSize);
  set.addParameter(fps);
  set.addParameter(bitrate);
  set.addParameter(useMemory);
  m_ParameterSets.push_back(set);
}

QSlider* SetVideoSettings::createSlider() {
  auto* slider = new QSlider(Qt::Horizontal);
  slider->setRange(MinimalChunkSize, MaximalChunkSize);
  slider->setValue(main::Overseer::getInstance()->getQSettings()->value(ChunkSizeKey, "50").toInt());
  return slider;
}

void SetVideoSettings::execute() {
  if (m_CurrentParameterSetID != 0) return log::qConsole("Parameter failure");
  const auto& set = *mp_CurrentParameterSet;
  const auto chunkSize = solveParameter<int>(m_TypeSolver, set, 0);
  const auto fps = solveParameter<int>(m_TypeSolver, set, 1);
  const auto bitrate = solveParameter<int>(m_TypeSolver, set, 2);
  const auto useMemory = solveParameter<bool>(m_TypeSolver, set, 3);
  if (!chunkSize || !fps || !bitrate || !useMemory) return log::qConsole("Parameter failure");

  const auto storeNumber = [&set](const char* key, int value, std::size_t index) {
    store(key, value, set.parameters()[index], QString::number(value));
  };
  storeNumber(ChunkSizeKey, std::clamp(*chunkSize, MinimalChunkSize, MaximalChunkSize), 0);
  storeNumber(FpsKey, std::max(*fps, MinimalFps), 1);
  const auto* bitrateParameter = set.parameters()[2];
  const bool isOther = bitrateParameter->toString() != bitrateParameter->getDefaultParameterForDefaultGUI();
  const bool isChosen = nubo::grab::isBitrateChosen() || bitrateParameter->isChosen() || isOther;
  main::nuboSettings()->setValue(nubo::grab::BitrateChosenKey, isChosen);
  storeNumber(BitrateKey, std::max(*bitrate, MinimalBitrate), 2);
  store(UseMemoryKey, *useMemory, set.parameters()[3], flagText(*useMemory));
  if (m_FireEvent)
    events::EventManager::getInstance()->fireEvent(main::Event(GlobalEvents.SETTINGS_CHANGED, nullptr, nullptr, false));
}

}  // namespace nubo::commands::grab
