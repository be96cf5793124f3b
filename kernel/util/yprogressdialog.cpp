#include "kernel/util/yprogressdialog.h"

#include <QApplication>
#include <QMap>
#include <QPointer>
#include <QProgressDialog>
#include <atomic>
#include <utility>

#include "kernel/util/delegate.h"

namespace nubo::util {

namespace {

/// A QProgressDialog for each piece of work. They are hidden at once but deleted later: a modal one
/// handles events inside setValue, its own end perhaps among them.
class DialogPresenter : public ProgressPresenter {
 public:
  void begin(const void* id, const QString& label, bool modal) override {
    auto* dialog = new QProgressDialog(label, QString(), 0, 100, QApplication::activeWindow());
    dialog->setWindowModality(modal ? Qt::ApplicationModal : Qt::NonModal);
    dialog->setAutoReset(false);
    dialog->setValue(0);
    m_Dialogs[id] = dialog;
  }
  void update(const void* id, int percent) override {
    if (QProgressDialog* dialog = m_Dialogs.value(id)) dialog->setValue(percent);
  }
  void end(const void* id) override {
    if (QProgressDialog* dialog = m_Dialogs.take(id)) {
      dialog->hide();
      dialog->deleteLater();
    }
  }

 private:
  QMap<const void*, QPointer<QProgressDialog>> m_Dialogs;
};

std::shared_ptr<ProgressPresenter> defaultPresenter() {
  const QString platform = QGuiApplication::platformName();
  const bool hasWindows = qobject_cast<QApplication*>(QCoreApplication::instance()) &&
                          platform != QLatin1String("headless") && platform != QLatin1String("offscreen") &&
                          platform != QLatin1String("minimal");
  return hasWindows ? std::make_shared<DialogPresenter>() : nullptr;
}

std::shared_ptr<ProgressPresenter>& currentPresenter() {
  static auto presenter = defaultPresenter();
  return presenter;
}

template <class Function>
void onApplicationThread(Function function) {
  WorkerDelegate::invoke(new FunctionDelegate(std::move(function)));
}

}  // namespace

ProgressPresenter::~ProgressPresenter() = default;

/// Shared with the delegates under way, whose presenter knows the work by the state's address.
struct YProgressDialog::State {
  std::atomic<int> percent{-1};
  std::atomic<bool> updateUnderWay{false};
  std::shared_ptr<ProgressPresenter> presenter;  ///< application thread only
};

YProgressDialog::YProgressDialog(const QString& label, bool modal) : m_State(std::make_shared<State>()) {
  onApplicationThread([state = m_State, label, modal] {
    state->presenter = currentPresenter();
    if (state->presenter) state->presenter->begin(state.get(), label, modal);
  });
}

YProgressDialog::~YProgressDialog() {
  onApplicationThread([state = m_State] {
    if (state->presenter) state->presenter->end(state.get());
  });
}

void YProgressDialog::setValue(int percent) {
  const int bounded = qBound(0, percent, 100);
  if (m_State->percent.exchange(bounded) == bounded) return;
  // An update that is still under way will show this value.
  if (m_State->updateUnderWay.exchange(true)) return;
  onApplicationThread([state = m_State] {
    state->updateUnderWay = false;
    if (state->presenter) state->presenter->update(state.get(), state->percent);
  });
}

void YProgressDialog::setPresenter(std::shared_ptr<ProgressPresenter> presenter) {
  currentPresenter() = std::move(presenter);
}

}  // namespace nubo::util
