#include "nubo/window/viewseries.h"

#include "kernel/main/parameter.h"
#include "module_trajectory/trajectory.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/menus/savedviews.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/panels/panelarea.h"

namespace nubo::window {

ViewSeries::ViewSeries(const Parts& parts, const CommandCall& call, QObject* parent)
    : QObject(parent),
      m_Parts(parts),
      m_Call(call),
      m_Names(parts.views.names()),
      m_FileParts(app::partsOfFileNames(m_Names)),
      m_Before(parts.panels.activePanel()->getCamera()) {
  connect(&parts.runner, &CommandRunner::ended, this, &ViewSeries::judge);
  next();
}

void ViewSeries::next() {
  if (m_Names.isEmpty()) return end();
  const QString name = m_Names.takeFirst(), part = m_FileParts.takeFirst();
  // A recording in step has brought the scene to its end.
  trajectory::TrajectoryHandler::getInstance()->putBack();
  m_Parts.views.recall(name);
  CommandCall call = m_Call;
  call.values = withFiles(*call.registered, *m_Call.values,
                          [&part](const QString& fileName) { return app::withView(fileName, part); });
  if (!m_Parts.runner.start(call)) {
    m_Parts.messages.showFailure(tr("“%1” cannot be run now, or does not take these values.").arg(call.title));
    return end();
  }
  mp_Run = m_Parts.runner.running().last();
}

void ViewSeries::judge(const RunningCommand* run) {
  if (run != mp_Run) return;
  if (run->writtenFiles().isEmpty()) m_Names.clear();
  m_Parts.runner.whenIdle([series = QPointer<ViewSeries>(this)] {
    if (series) series->next();
  });
}

void ViewSeries::end() {
  m_Parts.panels.activePanel()->setCamera(m_Before);
  deleteLater();
}

main::ParameterSet withFiles(main::Command& command, const main::ParameterSet& values,
                             const std::function<QString(const QString& fileName)>& rename) {
  main::ParameterSet copy(values.getID(), values.getName());
  for (const main::ParameterSet& own : command.getParameterSets())
    for (std::size_t i = 0; own.getID() == values.getID() && i < values.parameters().size(); ++i) {
      const main::AbstractParameter& value = *values.parameters()[i];
      auto* copied = new main::Parameter<QString>(value.getName(), value.getDescription(), QString(), false, nullptr);
      copy.addParameter(copied);
      if (!value.hasValue()) continue;
      copied->castString(app::namesFile(*own.parameters()[i]) ? rename(value.toString()) : value.toString());
      copied->setDotsPerInch(value.getDotsPerInch());
    }
  return copy;
}

}  // namespace nubo::window
