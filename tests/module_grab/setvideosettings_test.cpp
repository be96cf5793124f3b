#include <gtest/gtest.h>

#include <QSettings>
#include <QSlider>
#include <memory>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "module_grab/commands/setvideosettings.h"
#include "support/host.h"

namespace nubo::test {
namespace {

class SetVideoSettingsTest : public ::testing::Test {
 protected:
  SetVideoSettingsTest() {
    const unsigned long changed = events::EventHandler::getInstance()->addEvent("Global", "SETTINGS_CHANGED");
    events::EventManager::getInstance()->registerEventFunction(
        changed, new events::EventManager::Function([this](const main::Event*) { ++m_Events; }), this, nullptr);
  }
  ~SetVideoSettingsTest() override { events::EventManager::getInstance()->unregisterAllEventFunctionsOf(this); }

  /// Gives the command its values, without the checks of setParameters, and runs it.
  void run(const QStringList& texts) {
    const auto& parameters = m_Command.getParameterSets()[0].parameters();
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      parameters[i]->clearValue();
      if (!texts[int(i)].isEmpty()) parameters[i]->castString(texts[int(i)]);
    }
    execute(0);
  }
  void execute(int set) {
    m_Command.selectParameterSet(set);
    m_Command.execute();
  }
  static QStringList stored() {
    QStringList result;
    for (const char* key : {"tempfilesize", "fps", "kbps", "usememoryasbuffer"})
      result << main::nuboSettings()->value(QByteArray("settings/grabvideo") + key, "-").toString();
    return result;
  }
  /// What dialogs show, the slider's value first.
  QStringList shown() {
    const auto& parameters = m_Command.getParameterSets()[0].parameters();
    const auto* factory =
        dynamic_cast<const main::SliderParameterPanelFactory*>(parameters[0]->getParameterPanelFactory());
    const std::unique_ptr<QSlider> slider(factory->createSlider());
    EXPECT_EQ(slider->minimum(), 1);
    EXPECT_EQ(slider->maximum(), 1000);
    QStringList result(QString::number(slider->value()));
    for (std::size_t i = 1; i < parameters.size(); ++i) result << parameters[i]->getDefaultParameterForDefaultGUI();
    return result;
  }

  Host m_Host;
  LogCollector m_Log;
  int m_Events = 0;
  commands::grab::SetVideoSettings m_Command;
};

TEST_F(SetVideoSettingsTest, StoresBoundedValuesAndShowsThem) {
  EXPECT_EQ(shown(), (QStringList{"50", "25", "1200", "1"}));
  struct Row {
    QStringList given, stored;
  };
  const Row Rows[] = {
      {{"100", "30", "5000", "0"}, {"100", "30", "5000", "false"}},
      {{"0", "0", "50", "1"}, {"1", "1", "100", "true"}},
      {{"-7", "-3", "-1", "1"}, {"1", "1", "100", "true"}},
      {{"5000", "500", "100000", "0"}, {"1000", "500", "100000", "false"}},
  };
  int events = 0;
  for (const Row& row : Rows) {
    run(row.given);
    EXPECT_EQ(stored(), row.stored);
    QStringList expected = row.stored;
    expected.back() = expected.back() == "true" ? "1" : "0";
    EXPECT_EQ(shown(), expected);
    EXPECT_EQ(m_Events, ++events);
  }
  m_Command.setFireEvent(false);
  run(Rows[0].given);
  EXPECT_EQ(stored(), Rows[0].stored);
  EXPECT_EQ(m_Events, events);
}

TEST_F(SetVideoSettingsTest, StoresNothingUnlessEveryValueFits) {
  run({"100", "30", "5000", ""});
  run({"", "30", "5000", "1"});
  const auto addSet = [this](int id, const QStringList& texts) {
    main::ParameterSet set(id, QString());
    for (const QString& text : texts) {
      auto* value = new main::Parameter<QString>(text, QString(), QString(), true, nullptr);
      value->castString(text);
      set.addParameter(value);
    }
    m_Command.getParameterSets().assign(1, set);
    execute(id);
  };
  addSet(1, {"100", "30", "5000", "1"});
  addSet(0, {"100", "thirty", "5000", "1"});
  EXPECT_EQ(stored(), (QStringList{"-", "-", "-", "-"}));
  EXPECT_EQ(m_Events, 0);
  EXPECT_EQ(m_Log.consoleLines(), std::vector<QString>(4, "Parameter failure"));
}

}  // namespace
}  // namespace nubo::test
