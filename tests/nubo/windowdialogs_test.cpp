// Menus, dialogs, the log and what goes wrong.
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTranslator>
#include <QTreeWidget>

#include "kernel/main/parameter.h"
#include "nubo/window/application.h"
#include "nubo/window/parameters/parameterdialog.h"
#include "nubo/windowfixture.h"

namespace nubo::test {

namespace {

/// German texts while it lives.
class German {
 public:
  German() { window::installTranslations(QLocale(QLocale::German, QLocale::Germany)); }
  ~German() {
    qDeleteAll(qApp->findChildren<QTranslator*>());  // which removes them
  }
};

/// Letters that are given twice, or entries that have none, in a menu and those below it.
QStringList faultsOf(const QList<QAction*>& actions, const QString& menu) {
  QStringList faults;
  QSet<QString> used;
  for (const QAction* action : actions) {
    if (action->isSeparator()) continue;
    const QString letter = QKeySequence::mnemonic(action->text()).toString();
    if (letter.isEmpty() || used.contains(letter)) faults << menu + " > " + action->text();
    used << letter;
    if (action->menu()) faults << faultsOf(action->menu()->actions(), action->text());
  }
  return faults;
}

class TwoWays : public main::Command {
 public:
  TwoWays() : Command(new main::CommandDescriptor("Cuts the scene", "cut"), nullptr) {
    add(3, "By a plane", new main::Parameter<double>("height", "Height of the plane", "mm", true, nullptr));
    add(7, "", new main::Parameter<QString>("element", "Name of an element", "", true, nullptr));
  }
  void execute() override {}
  int chosenSet() const { return m_CurrentParameterSetID; }
  QString value() const { return mp_CurrentParameterSet->parameters()[0]->toString(); }

 private:
  void add(int id, const QString& name, main::AbstractParameter* parameter) {
    main::ParameterSet set(id, name);
    set.addParameter(parameter);
    m_ParameterSets.push_back(set);
  }
};

TEST_F(WindowTest, GivesEveryMenuEntryALetterOfItsOwnInBothLanguages) {
  for (const bool german : {false, true}) {
    std::unique_ptr<German> texts;
    window.reset();
    if (german) texts = std::make_unique<German>();
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(openCube());
    EXPECT_EQ(window->menuBar()->actions().first()->text(), german ? "&Datei" : "&File");
    EXPECT_EQ(faultsOf(window->menuBar()->actions(), "menu bar").join("; ").toStdString(), "");
    QMap<QString, QString> shortcuts;
    for (const QAction* action : window->findChildren<QAction*>()) {
      const QString keys = action->shortcut().toString();
      if (keys.isEmpty()) continue;
      EXPECT_FALSE(shortcuts.contains(keys)) << keys.toStdString() << ": " << action->text().toStdString();
      shortcuts[keys] = action->text();
    }
    EXPECT_GT(shortcuts.size(), 20);
    EXPECT_EQ(action("stop")->shortcut().toString(QKeySequence::NativeText), german ? "Strg+." : "Ctrl+.");
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), german ? "Abbrechen" : "Cancel");
    drop({QUrl::fromLocalFile(writeFile("empty.stl", {}))});
    EXPECT_TRUE(waitUntil([&] { return message().contains(german ? "die Datei ist leer" : "the file is empty"); }));
    window.reset();
  }
}

TEST_F(WindowTest, LeadsTheFocusThroughDialogsAndTheWindow) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_TRUE(openDialog("grabvideo"));
  QStringList order;
  for (int i = 0; i < 10; ++i) {
    const QWidget* focus = dialog()->focusWidget();
    const auto* button = qobject_cast<const QAbstractButton*>(focus);
    order << (button && !qobject_cast<const QCheckBox*>(focus) ? button->text().remove('&')
                                                               : focus->parentWidget()->objectName());
    QTest::keyClick(dialog(), Qt::Key_Tab);
  }
  EXPECT_EQ(order.join(' ').toStdString(),
            "filename Choose… width Sizes height Sizes sync Video settings Start Cancel");
  EXPECT_TRUE(cancel());

  useShortcut("F10");
  activate();
  for (const bool hasTabs : {false, true}) {
    if (hasTabs) useShortcut("Ctrl+T");
    panels().activePanel()->setFocus();
    QStringList reached;
    do {
      QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
      reached << QApplication::focusWidget()->objectName();
    } while (QApplication::focusWidget() != panels().activePanel() && reached.size() < 20);
    EXPECT_EQ(QApplication::focusWidget(), panels().activePanel()) << "the focus does not come back";
    for (const char* part : {"sceneTree", "log", "logLevels", "trajectoryModes", "trajectorySlider"})
      EXPECT_TRUE(reached.contains(part)) << part;
    EXPECT_EQ(reached.contains("qt_tabwidget_tabbar"), hasTabs);
  }
}

TEST_F(WindowTest, OffersTheParameterSetsOfACommand) {
  TwoWays command;
  for (const auto& [choice, name, text, id] : {std::tuple(1, "element", "bolt", 7), {0, "height", "2.5", 3}}) {
    window::ParameterDialog dialog(command, "Cut", window.get());
    auto* sets = dialog.findChild<QComboBox*>("parameterSets");
    EXPECT_EQ(sets->itemText(0) + ' ' + sets->itemText(1), "By a plane element");
    dialog.open();
    EXPECT_EQ(sets->currentIndex(), 1 - choice) << "the one that was used last";
    QTest::keyClick(sets, choice == 1 ? Qt::Key_End : Qt::Key_Home);
    EXPECT_EQ(dialog.findChild<QWidget*>("height")->isVisible(), choice == 0);
    type(dialog.findChild<QWidget*>(name)->focusProxy(), text);
    QTest::keyClick(&dialog, Qt::Key_Return);
    ASSERT_EQ(dialog.result(), QDialog::Accepted);
    ASSERT_TRUE(command.setParameters(dialog.values()));
    EXPECT_EQ(command.chosenSet(), id);
    EXPECT_EQ(command.value(), text);
  }
  const German german;
  window::ParameterDialog dialog(command, "Cut", window.get());
  dialog.open();
  type(dialog.findChild<QWidget*>("height")->focusProxy(), "abc");
  QTest::keyClick(&dialog, Qt::Key_Return);
  EXPECT_EQ(dialog.findChild<QLabel*>("height:remark")->text(), "„abc“ ist keine Zahl");
}

TEST_F(WindowTest, ChoosesFilesAndMovesSliders) {
  ASSERT_NO_FATAL_FAILURE(openCube());
  ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_I));
  inNextDialog<QFileDialog>([this](QFileDialog* chooser) {
    EXPECT_EQ(chooser->acceptMode(), QFileDialog::AcceptSave);
    chooser->setDirectory(host.directory.path());
    type(chooser->findChild<QLineEdit*>("fileNameEdit"), "chosen.bmp");
    QTest::keyClick(chooser, Qt::Key_Return);
  });
  QTest::mouseClick(field("filename")->parentWidget()->findChild<QToolButton*>(), Qt::LeftButton);
  EXPECT_EQ(qobject_cast<QLineEdit*>(field("filename"))->text(), host.file("chosen.bmp"));
  EXPECT_TRUE(cancel());

  ASSERT_TRUE(openDialog("setvideosettings"));
  auto* box = qobject_cast<QSpinBox*>(field("max. tempfile-size (MB)"));
  auto* slider = box->parentWidget()->findChild<QSlider*>();
  EXPECT_EQ(box->value(), 50);
  QTest::keyClick(slider, Qt::Key_Right);
  EXPECT_EQ(box->value(), 51);
  type(box, "120");
  EXPECT_EQ(slider->value(), 120);
  QTest::keyClick(slider, Qt::Key_End);
  EXPECT_TRUE(start());
  EXPECT_TRUE(waitUntil([] { return main::nuboSettings()->value("settings/grabvideotempfilesize").toInt() == 1000; }));
}

TEST_F(WindowTest, ShowsTheLogDownToALevel) {
  const auto shows = [this](const QString& text) {
    const auto* model = window->findChild<QTreeView*>("log")->model();
    return !model->match(model->index(0, 2), Qt::DisplayRole, text, 1, Qt::MatchExactly).isEmpty();
  };
  const std::pair<int, QString> records[] = {
      {log::Failure, "fails"}, {log::Milestone, "passes"}, {log::Note, "tells"}, {log::Debug, "details"}};
  const auto tell = [&] {
    for (const auto& [level, text] : records) NUBO_LOG(level, "nubo::test", text);
  };
  window->findChild<window::MessageBar*>()->findChild<QPushButton*>()->click();
  EXPECT_TRUE(window->findChild<QTreeView*>("log")->isVisible());
  auto* levels = window->findChild<QComboBox*>("logLevels");
  tell();
  ASSERT_TRUE(waitUntil([&] { return shows("tells"); }));
  EXPECT_EQ(message(), "fails");
  levels->setFocus();
  QTest::keyClick(levels, Qt::Key_Home);
  for (int shown = 1; shown <= 4; ++shown) {
    for (int i = 0; i < 4; ++i) EXPECT_EQ(shows(records[i].second), i < shown) << shown << ' ' << i;
    QTest::keyClick(levels, Qt::Key_Down);
  }
  QTest::keyClick(levels, Qt::Key_Home);
  window.reset();
  ASSERT_NO_FATAL_FAILURE(openWindow());
  tell();
  EXPECT_TRUE(waitUntil([&] { return shows("fails"); }));
  EXPECT_FALSE(shows("tells")) << "the level that was chosen last";
}

TEST_F(WindowTest, TellsOfFailuresFromBeforeItWasThere) {
  window->showFailures({"cut.so", "text.so", "empty.so"});
  EXPECT_TRUE(message().contains("cut.so") && message().contains('2')) << message().toStdString();
  const auto* log = window->findChild<QTreeView*>("log")->model();
  EXPECT_EQ(log->match(log->index(0, 2), Qt::DisplayRole, ".so", -1, Qt::MatchEndsWith).size(), 3);
  pressShortcut(Qt::Key_Escape);
  EXPECT_TRUE(waitUntil([this] { return message().isEmpty(); }));
}

}  // namespace

}  // namespace nubo::test
