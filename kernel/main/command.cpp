#include "kernel/main/command.h"

#include <QImage>
#include <algorithm>
#include <utility>

#include "kernel/log/logger.h"
#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "kernel/util/exceptiontext.h"

namespace nubo::main {

namespace {

std::vector<std::unique_ptr<CommandGUIDescriptor>> copied(
    const std::vector<std::unique_ptr<CommandGUIDescriptor>>& descriptors) {
  std::vector<std::unique_ptr<CommandGUIDescriptor>> copies;
  copies.reserve(descriptors.size());
  for (const auto& from : descriptors) {
    copies.push_back(std::make_unique<CommandGUIDescriptor>(from->getFlag(), from->getGroup(), from->getPosition(),
                                                            from->getCommandName(), from->getLabel(),
                                                            from->getIcon() ? new QIcon(*from->getIcon()) : nullptr));
    copies.back()->setShortcut(from->getShortcut());
  }
  return copies;
}

/// The value that `target` gets from `source` or from its own default, and whether that will do.
std::pair<TypeSolver::Value, bool> valueFor(const AbstractParameter& target, const AbstractParameter& source) {
  const TypeSolver solver;
  const QString& text = target.getDefaultParameterForDefaultGUI();
  if (!source.hasValue() && text.isEmpty()) return {nullptr, !target.isRequired()};
  TypeSolver::Value value = source.hasValue() ? solver.convert(target, source) : solver.convert(target, text);
  const bool fits = value != nullptr;
  return {std::move(value), fits};
}

}  // namespace

Command::Command(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor)
    : mp_Descriptor(descriptor), mp_Monitor(std::make_unique<CommandMonitor>()) {
  if (guiDescriptor) m_GUIDescriptors.emplace_back(guiDescriptor);
}

Command::Command(const Command& other) : mp_Monitor(std::make_unique<CommandMonitor>()) { *this = other; }

Command& Command::operator=(const Command& other) {
  if (this == &other) return *this;
  m_ParameterSets = other.m_ParameterSets;
  m_CurrentParameterSetID = other.m_CurrentParameterSetID;
  mp_CurrentParameterSet = other.mp_CurrentParameterSet ? findParameterSet(m_CurrentParameterSetID) : nullptr;
  m_TypeSolver = other.m_TypeSolver;
  m_Programmatic = other.m_Programmatic;
  m_RunsOnClone = other.m_RunsOnClone;
  m_Aborted = other.m_Aborted.load();
  m_Abortable = other.m_Abortable;
  m_Cancellable = other.m_Cancellable;
  m_Undoable = other.m_Undoable;
  m_Placement = other.m_Placement;
  m_GUIDescriptors = copied(other.m_GUIDescriptors);
  mp_Descriptor = other.mp_Descriptor ? std::make_unique<CommandDescriptor>(*other.mp_Descriptor) : nullptr;
  m_Enabled = other.m_Enabled.load();
  return *this;
}

Command::~Command() = default;

bool Command::setParameters(const ParameterSet& values) {
  ParameterSet* own = findParameterSet(values.getID());
  if (!own || own->parameters().size() != values.parameters().size()) return false;
  // All are converted before the first is set, so that a refusal changes nothing.
  std::vector<TypeSolver::Value> converted;
  for (size_t i = 0; i < own->parameters().size(); ++i) {
    auto [value, fits] = valueFor(*own->parameters()[i], *values.parameters()[i]);
    if (!fits) return false;
    converted.push_back(std::move(value));
  }
  for (size_t i = 0; i < converted.size(); ++i) {
    own->parameters()[i]->setValuePointer(converted[i].release());
    own->parameters()[i]->setDotsPerInch(values.parameters()[i]->getDotsPerInch());
    own->parameters()[i]->setChosen(values.parameters()[i]->isChosen());
  }
  return selectParameterSet(values.getID());
}

QWidget* Command::getGUIWindow() { return nullptr; }

QWidget* Command::getCommandWidget() { return nullptr; }

Command* Command::clone() const {
  std::unique_ptr<Command> copy(CommandManager::getInstance()->create(getName()));
  if (!copy) return nullptr;
  for (const ParameterSet& set : m_ParameterSets) {
    ParameterSet* target = set.getID() == m_CurrentParameterSetID ? copy->findParameterSet(set.getID()) : nullptr;
    if (!target) continue;
    const size_t count = std::min(set.parameters().size(), target->parameters().size());
    for (size_t i = 0; i < count; ++i) {
      if (TypeSolver::Value value = m_TypeSolver.convert(*target->parameters()[i], *set.parameters()[i])) {
        target->parameters()[i]->setValuePointer(value.release());
        target->parameters()[i]->setDotsPerInch(set.parameters()[i]->getDotsPerInch());
        target->parameters()[i]->setChosen(set.parameters()[i]->isChosen());
      }
    }
    copy->selectParameterSet(set.getID());
  }
  return copy.release();
}

void Command::abort() { m_Aborted = true; }

void Command::updateText(const QString& text) { emit mp_Monitor->textChanged(text); }

void Command::updateDetail(const QString& detail) { emit mp_Monitor->detailChanged(detail); }

void Command::updateProcessed(int percent) { emit mp_Monitor->processedChanged(percent); }

void Command::giveReason(const QString& reason) { emit mp_Monitor->reasonGiven(reason); }
void Command::updateEndedEarly(const QString& extent) { emit mp_Monitor->endedEarly(extent); }

void Command::updateStuck() { emit mp_Monitor->stuck(); }

void Command::giveFact(const QString& name, const QVariant& value) { emit mp_Monitor->factGiven(name, value); }

/// Averaging each small pixel over all of a large picture would take as long as writing it; four of its pixels each way
/// are as good.
void Command::givePreview(const QImage& picture) {
  constexpr int Side = 256;
  const QSize small = picture.size().scaled(Side, Side, Qt::KeepAspectRatio).boundedTo(picture.size());
  if (small.isEmpty()) return;
  const QSize between = (small * 4).boundedTo(picture.size());
  emit mp_Monitor->previewGiven(picture.scaled(between).scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

void Command::disableCommand(bool disable) {
  if (m_Enabled.exchange(!disable) == disable) emit mp_Monitor->enabledChanged(!disable);
}

QString Command::getName() const { return mp_Descriptor ? mp_Descriptor->getCommandName() : QString(); }

bool Command::selectParameterSet(int id) {
  ParameterSet* set = findParameterSet(id);
  if (!set) return false;
  mp_CurrentParameterSet = set;
  m_CurrentParameterSetID = id;
  return true;
}

ParameterSet* Command::findParameterSet(int id) {
  const auto found = std::find_if(m_ParameterSets.begin(), m_ParameterSets.end(),
                                  [id](const ParameterSet& set) { return set.getID() == id; });
  return found == m_ParameterSets.end() ? nullptr : &*found;
}

void Command::run() {
  const SettingsScope scope(mp_RunSettings);
  try {
    execute();
    // Nobody else would notice.
    const QString failure = dynamic_cast<SettingsCommand*>(this) ? writeSettings() : QString();
    if (!failure.isEmpty()) NUBO_LOG(log::Failure, "nubo::main::Command::run", failure);
  } catch (...) {
    NUBO_LOG(log::Failure, "nubo::main::Command::run",
             QStringLiteral("Command \"%1\" failed: %2").arg(getName(), util::exceptionText()));
  }
}

SettingsCommand::~SettingsCommand() = default;

}  // namespace nubo::main
