// The inputs of one form of a command.
#pragma once

#include <QString>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "kernel/main/abstractparameter.h"

namespace nubo::main {

/// Parameters in the order in which they were added. Copies of a set share its parameters; the last
/// copy clears their values (which deletes those that are owned) and deletes them.
class NUBO_KERNEL_EXPORT ParameterSet {
 public:
  /// A value that does not go with the others or with what the command finds around it.
  struct Refusal {
    std::size_t parameter = 0;  ///< the position of the one that the user had better change
    QString text;               ///< a sentence that says why; empty: all is well
  };
  using Check = std::function<Refusal(const ParameterSet& values)>;
  using Summary = std::function<QString(const ParameterSet& values)>;
  /// What of a view a command will take, in its middle.
  struct Frame {
    double aspect = 0;   ///< width by height; 0: the view's own
    double opening = 0;  ///< the vertical angle in degrees; 0: nothing is taken of a view
  };
  using Framing = std::function<Frame(const ParameterSet& values)>;

  ParameterSet(int id, const QString& name);
  /// Takes ownership.
  void addParameter(AbstractParameter* parameter);
  std::deque<AbstractParameter*>* getParameterList() { return &m_Parameters; }
  const std::deque<AbstractParameter*>& parameters() const { return m_Parameters; }
  /// Tells user interfaces before a run what the run would fail at. `values` are of any types, in the order of this
  /// set's parameters, and each fits its parameter. Called on the application thread. A run does not rely on it.
  void setCheck(const Check& check) { m_Check = check; }
  Refusal check(const ParameterSet& values) const { return m_Check ? m_Check(values) : Refusal(); }
  /// Tells user interfaces in a line what a run with these values will make: it must come true. The values are as those
  /// of a check, and not refused by it. Empty: nothing can be said yet. Called on the application thread, as values are
  /// typed.
  void setSummary(const Summary& summary) { m_Summary = summary; }
  /// Empty without a summary, and for values that are refused.
  QString summarize(const ParameterSet& values) const;
  /// Tells user interfaces what of the active view a run with these values will take, so that they can show it before.
  /// As with a summary otherwise.
  void setFraming(const Framing& framing) { m_Framing = framing; }
  bool framesView() const { return bool(m_Framing); }
  Frame frame(const ParameterSet& values) const { return m_Framing ? m_Framing(values) : Frame(); }
  int getID() const { return m_ID; }
  const QString& getName() const { return m_Name; }

 private:
  int m_ID;
  QString m_Name;
  std::deque<AbstractParameter*> m_Parameters;
  std::vector<std::shared_ptr<AbstractParameter>> m_Owned;
  Check m_Check;
  Summary m_Summary;
  Framing m_Framing;
};

}  // namespace nubo::main
