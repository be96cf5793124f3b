// A window with the program's modules on a real display, driven with keys and mouse.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QScreen>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <cmath>

#include "kernel/main/modulemanager.h"
#include "module_trajectory/trajectory.h"
#include "nubo/window/mainwindow.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/panels/panelarea.h"
#include "support/host.h"

namespace nubo::test {

constexpr double VideoHalfOpening = 0.39269908169872414;    // radians
constexpr double PictureHalfOpening = 0.40391905546154483;  // of panels, too

inline constexpr char CubeFile[] =
    "v -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n"
    "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

/// Where a cube with corners at 1 and -1 must lie in a picture.
inline QRectF projectedCube(const math::Matrix4& view, QSize size, double halfOpening) {
  QPolygonF points;
  for (int i = 0; i < 8; ++i) {
    const math::Vector3 eye = math::transformPoint(view, {i & 1 ? 1.0 : -1.0, i & 2 ? 1.0 : -1.0, i & 4 ? 1.0 : -1.0});
    const double unit = 0.5 * size.height() / (std::tan(halfOpening) * -eye[2]);
    points << QPointF(0.5 * size.width() + eye[0] * unit, 0.5 * size.height() - eye[1] * unit);
  }
  return points.boundingRect();
}

class WindowTest : public testing::Test {
 protected:
  void SetUp() override {
    if (QGuiApplication::platformName() != QLatin1String("xcb")) GTEST_SKIP() << "a display is needed here";
    main::ModuleManager::getInstance()->loadModules(QStringLiteral(NUBO_TEST_BIN_DIR "/modules"),
                                                    [](const QString&) {});
    ASSERT_TRUE(host.settle());
    writeFile("cube.obj", CubeFile);
    openWindow();
  }

  void openWindow() {
    window = std::make_unique<window::MainWindow>(*host.overseer.getCommandProcessor());
    window->resize(1024, 700);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    activate();
  }

  void TearDown() override {
    if (window) keepScreenshot(testing::UnitTest::GetInstance()->current_test_info()->name());
    host.overseer.getCommandProcessor()->shutDown();
    window.reset();
    trajectory::TrajectoryHandler::getInstance()->clear();
    main::ModuleManager::getInstance()->unloadModules();
  }

  QString writeFile(const QString& name, const QByteArray& content) {
    QFile file(host.file(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
    return file.fileName();
  }

  void drop(const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    // File managers often propose to move.
    const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction;
    QDragEnterEvent enter(QPoint(10, 10), actions, &data, Qt::LeftButton, Qt::ShiftModifier);
    QDragMoveEvent move(QPoint(11, 10), actions, &data, Qt::LeftButton, Qt::ShiftModifier);
    QDropEvent event(QPointF(11, 10), actions, &data, Qt::LeftButton, Qt::ShiftModifier);
    for (QDropEvent* step : {static_cast<QDropEvent*>(&enter), static_cast<QDropEvent*>(&move), &event}) {
      step->setDropAction(Qt::MoveAction);
      step->ignore();
      QApplication::sendEvent(window.get(), step);
      ASSERT_TRUE(step->isAccepted());
      ASSERT_EQ(step->dropAction(), Qt::CopyAction) << "moved files would be deleted by their program";
    }
  }

  void openCube() {
    drop({QUrl::fromLocalFile(host.file("cube.obj"))});
    ASSERT_TRUE(waitUntil([this] { return window->windowTitle().startsWith("cube.obj"); }));
    ASSERT_TRUE(waitUntil([this] { return action("command:grabimage")->isEnabled(); }));
  }

  QAction* action(const QString& name) const { return window->findChild<QAction*>(name); }
  window::PanelArea& panels() const { return *window->findChild<window::PanelArea*>(); }
  /// Null: none is shown. One that was closed may not be deleted yet.
  QDialog* dialog() const {
    for (auto* dialog : window->findChildren<QDialog*>("parameters"))
      if (dialog->isVisible()) return dialog;
    return nullptr;
  }
  QList<QToolButton*> abortButtons() const { return window->findChildren<QToolButton*>("abort"); }
  bool anythingRuns() const { return !window->findChildren<QWidget*>("running").isEmpty(); }
  QString message() const { return window->findChild<window::MessageBar*>()->text(); }

  /// Leaves a picture of the screen beside the test program, to be looked at.
  static void keepScreenshot(const QString& name) {
    QTest::qWait(100);
    const QDir folder(QCoreApplication::applicationDirPath() + "/screenshots");
    folder.mkpath(".");
    QGuiApplication::primaryScreen()->grabWindow(0).save(folder.filePath(name + ".png"));
  }

  void activate() {
    window->activateWindow();  // there may be no window manager that would
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
  }
  /// Presses a button at one point and releases it at another.
  static void drag(QWidget* widget, QPoint from, QPoint to, Qt::MouseButton button = Qt::LeftButton,
                   Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::mousePress(widget, button, modifiers, from);
    QMouseEvent move(QEvent::MouseMove, to, Qt::NoButton, button, modifiers);
    QApplication::sendEvent(widget, &move);
    QTest::mouseRelease(widget, button, modifiers, to);
  }
  void pressShortcut(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    activate();
    QTest::keyClick(window.get(), key, modifiers);
  }

  /// Does what is bound to a shortcut, also where no window manager gives the focus back after a dialog.
  void useShortcut(const QString& keys) {
    for (QAction* action : window->findChildren<QAction*>())
      if (action->shortcut() == QKeySequence(keys)) return action->trigger();
    ADD_FAILURE() << keys.toStdString() << " is bound to nothing";
  }

  /// Keys as a user presses them, in whatever has the focus.
  static void type(QWidget* widget, const QString& text) {
    QTest::keyClick(widget, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(widget, text);
  }
  QWidget* field(const QString& parameter) const { return dialog()->findChild<QWidget*>(parameter)->focusProxy(); }
  QString remark(const QString& parameter) const {
    const auto* label = dialog()->findChild<QLabel*>(parameter + ":remark");
    return label->isVisible() ? label->text() : QString();
  }
  /// Of the dialog that is shown.
  void enter(const QString& parameter, const QString& value) {
    type(field(parameter), value);
    if (value.isEmpty()) QTest::keyClick(field(parameter), Qt::Key_Delete);
  }
  bool cancel() {
    QTest::keyClick(dialog(), Qt::Key_Escape);
    return waitUntil([this] { return !dialog(); });
  }
  /// Whether the dialog accepts what was entered.
  bool start() {
    QTest::keyClick(dialog(), Qt::Key_Return);
    return !dialog();
  }
  bool waitForEnd() {
    return waitUntil([this] { return !anythingRuns() && host.settle(); });
  }
  bool openDialog(const char* command) {
    QAction* opener = action(QStringLiteral("command:") + command);
    if (!waitUntil([opener] { return opener->isEnabled(); })) return false;
    opener->trigger();
    return waitUntil([this] { return dialog() && dialog()->focusWidget(); });
  }

  /// Opens a menu by Alt and a letter, and chooses from it by another.
  void chooseFromMenu(Qt::Key menu, Qt::Key entry) {
    // Without a window manager, the focus may still be on its way back from a dialog.
    ASSERT_TRUE(waitUntil([&] {
      if (!QApplication::activePopupWidget()) pressShortcut(menu, Qt::AltModifier);
      QTest::qWait(20);
      return QApplication::activePopupWidget() != nullptr;
    }));
    QTest::keyClick(QApplication::activePopupWidget(), entry);
    ASSERT_TRUE(waitUntil([this] { return dialog() != nullptr; }));
  }

  void startVideo(const QString& name, bool inStep) {
    ASSERT_NO_FATAL_FAILURE(chooseFromMenu(Qt::Key_G, Qt::Key_V));
    for (const auto& [parameter, value] : {std::pair("filename", host.file(name)), {"width", "200"}, {"height", "160"}})
      enter(parameter, value);
    auto* sync = qobject_cast<QCheckBox*>(field("sync"));
    if (sync->isChecked() != inStep) QTest::keyClick(sync, Qt::Key_Space);
    const int before = abortButtons().size();
    keepScreenshot("dialog");
    ASSERT_TRUE(start());
    ASSERT_TRUE(waitUntil([&] { return abortButtons().size() == before + 1 && QFile::exists(host.file(name)); }));
  }

  /// Calls the function with the modal dialog that the next call opens.
  template <class Dialog, class Function>
  static void inNextDialog(Function function) {
    QTimer::singleShot(50, qApp, [function] {
      auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
      if (dialog && dialog->isVisible()) return function(dialog);
      inNextDialog<Dialog>(function);
    });
  }
  /// Answers the question that the next call will ask.
  static void answerNext(QMessageBox::ButtonRole role) {
    inNextDialog<QMessageBox>([role](QMessageBox* box) {
      for (QAbstractButton* button : box->buttons())
        if (box->buttonRole(button) == role) return QTest::mouseClick(button, Qt::LeftButton);
    });
  }

  Host host;
  std::unique_ptr<window::MainWindow> window;
};

}  // namespace nubo::test
