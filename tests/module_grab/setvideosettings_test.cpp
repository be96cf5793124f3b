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
    auto& set = m_Command.getParameterSets()[0];
    for (int i = 0; i < texts.size(); ++i) {
      set.parameters()[std::size_t(i)]->clearValue();
      if (!texts[i].isEmpty()) set.parameters()[std::size_t(i)]->castString(texts[i]);
    }
    m_Command.selectParameterSet(0);
    m_Command.execute();
  }
  QStringList stored() const {
    QStringList result;
    for (const char* key : {"settings/grabvideotempfilesize", "settings/grabvideofps", "settings/grabvideokbps",
                            "settings/grabvideousememoryasbuffer"})
      result << main::nuboSettings()->value(key, "-").toString();
    return result;
  }
  QStringList shown() {
    QStringList result;
    for (const auto* parameter : m_Command.getParameterSets()[0].parameters())
      result << parameter->getDefaultParameterForDefaultGUI();
    return result;
  }
  int sliderValue() {
    const auto* factory = dynamic_cast<const main::SliderParameterPanelFactory*>(
        m_Command.getParameterSets()[0].parameters()[0]->getParameterPanelFactory());
    const std::unique_ptr<QSlider> slider(factory->createSlider());
    EXPECT_EQ(slider->minimum(), 1);
    EXPECT_EQ(slider->maximum(), 1000);
    return slider->value();
  }

  Host m_Host;
  LogCollector m_Log;
  int m_Events = 0;
  commands::grab::SetVideoSettings m_Command;
};

TEST_F(SetVideoSettingsTest, StoresBoundedValuesAndShowsThem) {
  EXPECT_EQ(shown(), (QStringList{"", "25", "1200", "1"}));
  EXPECT_EQ(sliderValue(), 50);
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
    EXPECT_EQ(shown(), (QStringList{row.stored[0], row.stored[1], row.stored[2], row.stored[3] == "true" ? "1" : "0"}));
    EXPECT_EQ(sliderValue(), row.stored[0].toInt());
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
  auto& own = m_Command.getParameterSets();
  own.emplace_back(1, QStringLiteral("another"));
  m_Command.selectParameterSet(1);
  m_Command.execute();
  main::ParameterSet wrong(0, QStringLiteral("of a wrong type"));
  for (const char* text : {"100", "thirty", "5000", "1"}) {
    auto* value = new main::Parameter<QString>(text, QString(), QString(), true, nullptr);
    value->castString(text);
    wrong.addParameter(value);
  }
  own.assign(1, wrong);
  m_Command.selectParameterSet(0);
  m_Command.execute();
  EXPECT_EQ(stored(), (QStringList{"-", "-", "-", "-"}));
  EXPECT_EQ(m_Events, 0);
  EXPECT_EQ(m_Log.consoleLines(), std::vector<QString>(4, "Parameter failure"));
}

}  // namespace
}  // namespace nubo::test
