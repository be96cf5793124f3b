// What can be undone.
#pragma once

#include <QAction>
#include <QPointer>
#include <QTimer>
#include <QUndoStack>
#include <functional>
#include <utility>

namespace nubo::window {

/// The one list of all that the user has done to the scene and the views. Application thread.
class History : public QObject {
  Q_OBJECT
 public:
  explicit History(QObject* parent);

  QAction* undoAction() const { return mp_Undo; }
  QAction* redoAction() const { return mp_Redo; }
  void push(QUndoCommand* command);
  /// Whether something is about to be pushed.
  void expect(bool expects);
  /// Of another scene nothing can be undone that was done to the one before.
  void clear();

 signals:
  /// What was expected must be pushed now.
  void flushed();
  /// All that is remembered of the states before is out of date.
  void cleared();

 private:
  void go(bool back);
  void show();

  QUndoStack m_Stack;
  QAction* mp_Undo;
  QAction* mp_Redo;
  bool m_Expects = false;
};

/// A state that the user changes, mostly bit by bit, and that is remembered each time it has come to rest.
template <class State>
class Remembered : public QObject {
 public:
  struct Access {
    std::function<State()> get;
    std::function<void(const State&)> set;
  };

  /// `text` says what it is. Both must live as long as `parent`, which owns this.
  Remembered(History& history, const QString& text, Access access, QObject* parent)
      : QObject(parent), m_History(history), m_Text(text), m_Access(std::move(access)), m_Known(m_Access.get()) {
    m_Rest.setSingleShot(true);
    connect(&m_Rest, &QTimer::timeout, this, [this] { remember(); });
    connect(&history, &History::flushed, this, [this] { remember(); });
    connect(&history, &History::cleared, this, [this] { forget(); });
  }

  /// It may be another now, and will be yet another if that is not the rest of it.
  void changed(int restMs = 400) {
    if (m_Access.get() == m_Known) return;
    m_History.expect(true);
    m_IsPending = true;
    m_Rest.start(restMs);
  }
  /// The state as it is now is where the next change begins.
  void forget() {
    m_Rest.stop();
    m_IsPending = false;
    m_Known = m_Access.get();
  }

 private:
  struct Change : QUndoCommand {
    Change(Remembered* owner, const State& before, const State& after)
        : QUndoCommand(owner->m_Text), mp_Owner(owner), m_Before(before), m_After(after) {}
    void undo() override {
      if (mp_Owner) mp_Owner->bring(m_Before);
    }
    /// What is pushed has been done.
    void redo() override {
      if (mp_Owner && !std::exchange(m_IsNew, false)) mp_Owner->bring(m_After);
    }
    const QPointer<Remembered> mp_Owner;
    const State m_Before, m_After;
    bool m_IsNew = true;
  };

  void remember() {
    if (!m_IsPending) return;
    m_Rest.stop();
    m_IsPending = false;
    const State now = m_Access.get();
    if (now == m_Known) return m_History.expect(false);
    m_History.push(new Change(this, std::exchange(m_Known, now), now));
  }
  void bring(const State& state) {
    m_Access.set(state);
    forget();
  }

  History& m_History;
  const QString m_Text;
  const Access m_Access;
  State m_Known;
  QTimer m_Rest;
  bool m_IsPending = false;
};

}  // namespace nubo::window
