#include "nubo/window/parameters/settingsfold.h"

#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "nubo/window/look/owntext.h"
#include "nubo/window/parameters/parametereditor.h"
#include "nubo/window/parameters/parameterpage.h"

namespace nubo::window {

namespace {

constexpr int RestMs = 300;

QStringList textsOf(const main::ParameterSet& values) {
  QStringList texts;
  for (const main::AbstractParameter* value : values.parameters()) texts << value->toString();
  return texts;
}

QString titleOf(const main::Command& settings) {
  const auto& descriptors = settings.getGUIDescriptors();
  return descriptors.empty() ? settings.getName() : ownText(descriptors.front()->getLabel());
}

}  // namespace

SettingsFold::SettingsFold(main::Command& settings, bool narrow, QWidget* parent)
    : QWidget(parent),
      m_Settings(settings),
      mp_Button(new QToolButton),
      mp_Page(new ParameterPage(settings, settings.getParameterSets().front(), narrow, this)),
      m_Stored(textsOf(mp_Page->values())) {
  mp_Button->setObjectName(QStringLiteral("fold:") + settings.getName());
  mp_Button->setText(titleOf(settings));
  mp_Button->setToolTip(tr("They are stored, and hold for all that follows"));
  mp_Button->setCheckable(true);
  mp_Button->setAutoRaise(true);
  mp_Button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  mp_Button->setArrowType(Qt::RightArrow);
  mp_Page->hide();
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(mp_Button);
  layout->addWidget(mp_Page);
  connect(mp_Button, &QToolButton::toggled, this, [this](bool open) {
    mp_Button->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
    mp_Page->setVisible(open);
    emit folded();
  });
  m_Rest.setSingleShot(true);
  connect(&m_Rest, &QTimer::timeout, this, &SettingsFold::store);
  connect(mp_Page, &ParameterPage::remarksChanged, this, &SettingsFold::change);
}

void SettingsFold::change() {
  if (textsOf(mp_Page->values()) != m_Stored) m_Rest.start(RestMs);
}

/// By a command of its own, which changes nothing of what the registered one shows.
void SettingsFold::store() {
  m_Rest.stop();
  const main::ParameterSet values = mp_Page->values();
  if (m_Storing || textsOf(values) == m_Stored || !mp_Page->doValuesFit()) return;
  main::Command* command = main::CommandManager::getInstance()->create(m_Settings.getName());
  if (!command || !command->setParameters(values)) {
    delete command;
    return;
  }
  m_Stored = textsOf(values);
  m_Storing = true;
  connect(command->monitor(), &main::CommandMonitor::finished, this, &SettingsFold::end);
  main::Overseer::getInstance()->getCommandProcessor()->processCommand(command, main::CommandProcessor::Queued, false);
}

void SettingsFold::end() {
  m_Storing = false;
  emit stored();
  store();  // what was typed meanwhile
  if (!m_Storing && m_Done) std::exchange(m_Done, nullptr)();
}

bool SettingsFold::finish(const std::function<void()>& done) {
  if (textsOf(mp_Page->values()) != m_Stored)
    if (ParameterEditor* bad = mp_Page->check()) {
      mp_Button->setChecked(true);
      bad->setFocus();
      return false;
    }
  store();
  m_Done = done;
  if (!m_Storing) std::exchange(m_Done, nullptr)();
  return true;
}

}  // namespace nubo::window
