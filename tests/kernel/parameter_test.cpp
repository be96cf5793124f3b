#include "kernel/main/parameter.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QTemporaryDir>
#include <memory>

#include "kernel/main/parameterset.h"
#include "kernel/main/typesolver.h"
#include "support/logcollector.h"

using namespace nubo;
using main::Parameter;

namespace {

/// A type without a cast class that counts its living objects.
struct Counted {
  Counted() { ++alive; }
  ~Counted() { --alive; }
  static int alive;
};
int Counted::alive = 0;

/// A type whose cast class throws at every turn and wants to do the deleting itself.
struct Stubborn {};

class StubbornCast : public main::CastClass {
 public:
  StubbornCast() : CastClass(true) {}
  void* fromString(const QString& text) override {
    if (text == "bad") throw 7;
    return new Stubborn;
  }
  void* copy(const void*) override { return nullptr; }
  QString toString(const void*) override { return "stubborn"; }
  void deleteValue(void* value) override {
    delete static_cast<Stubborn*>(value);
    throw std::runtime_error("cannot delete");
  }
};

template <class T>
struct Named : Parameter<T> {
  explicit Named(const QString& name = "name") : Parameter<T>(name, "description", "", true, nullptr) {}
  ~Named() override { this->clearValue(); }
};

QtMsgType lastType;
QString lastMessage;
void keepMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
  lastType = type;
  lastMessage = message;
}

}  // namespace

TEST(Parameter, KeepsItsValueAndTheBoundVariableTogether) {
  Named<int> parameter;
  int* bound = new int(5);
  parameter.bind(&bound);
  EXPECT_EQ(parameter.toString(), "5");

  ASSERT_TRUE(parameter.castString("12"));
  ASSERT_NE(bound, nullptr);
  EXPECT_EQ(*bound, 12);
  const int* before = bound;
  EXPECT_FALSE(parameter.castString("twelve"));
  EXPECT_EQ(bound, before);
  EXPECT_EQ(*bound, 12);

  int* other = nullptr;
  parameter.bind(&other);
  EXPECT_EQ(bound, nullptr);
  EXPECT_FALSE(parameter.hasValue());
  EXPECT_TRUE(parameter.toString().isNull());
  parameter.setValuePointer(new int(3));
  EXPECT_EQ(*other, 3);
  parameter.setValuePointer(other);
  EXPECT_EQ(*other, 3);
  parameter.bind(nullptr);
  EXPECT_EQ(other, nullptr);
  parameter.castString("4");
  EXPECT_EQ(other, nullptr);
}

TEST(Parameter, DeletesWhatItOwnsAndNothingElse) {
  {
    Parameter<Counted> parameter("counted", "", "", true, nullptr);
    parameter.setValuePointer(new Counted);
    parameter.setValuePointer(new Counted);
    EXPECT_EQ(Counted::alive, 1);
    parameter.clearValue();
    EXPECT_EQ(Counted::alive, 0);

    Counted mine;
    Counted* bound = nullptr;
    parameter.disableDeleteOnSet(true);
    parameter.bind(&bound);
    parameter.setValuePointer(&mine);
    EXPECT_EQ(bound, &mine);
    parameter.clearValue();
    EXPECT_EQ(bound, nullptr);
    EXPECT_EQ(Counted::alive, 1);
  }
  auto left = std::make_unique<Counted>();
  Counted* bound = left.get();
  { Parameter<Counted>("counted", "", "", true, nullptr).bind(&bound); }
  EXPECT_EQ(bound, left.get());
  EXPECT_EQ(Counted::alive, 1);

  auto* shared = new main::ParameterSet(1, "set");
  auto* parameter = new Parameter<Counted>("counted", "", "", true, nullptr);
  parameter->setValuePointer(new Counted);
  shared->addParameter(parameter);
  main::ParameterSet copy = *shared;
  delete shared;
  EXPECT_EQ(Counted::alive, 2);
  EXPECT_TRUE(copy.parameters()[0]->hasValue());
  copy = main::ParameterSet(2, "empty");
  EXPECT_EQ(Counted::alive, 1);
}

TEST(Parameter, TakesTheVeryObjectOfItsOwnTypeOnly) {
  Named<int> source;
  Named<int> target;
  Named<double> other;
  target.disableDeleteOnSet(true);
  int mine = 9;
  target.setValuePointer(&mine);
  other.castString("2.5");
  target.takeValue(&other);
  EXPECT_EQ(target.getValuePointer(), &mine);
  source.castString("1");
  target.takeValue(&source);
  EXPECT_EQ(target.getValuePointer(), source.getValuePointer());
  source.takeValue(&source);
  EXPECT_EQ(source.toString(), "1");
}

TEST(Parameter, ReportsWhatCastClassesThrow) {
  main::CastClassManager::getInstance()->registerCastClass(typeid(Stubborn), [] { return new StubbornCast; });
  Named<Stubborn> parameter;
  const test::LogCollector recorder;
  ASSERT_TRUE(parameter.castString("good"));
  void* value = parameter.getValuePointer();
  EXPECT_FALSE(parameter.castString("bad"));
  EXPECT_EQ(parameter.getValuePointer(), value);
  EXPECT_TRUE(parameter.castString("good"));
  EXPECT_NE(parameter.getValuePointer(), value);

  const auto records = recorder.records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].level, 1000);
  EXPECT_EQ(records[0].file, "kernel/main/parameter");
  EXPECT_EQ(records[0].line, 87);
  EXPECT_EQ(records[0].message, "Parameter::castString() There was an error!");
  EXPECT_EQ(records[1].level, 1000);
  EXPECT_EQ(records[1].line, 194);
  EXPECT_EQ(records[1].message, "Save your data!");
  EXPECT_TRUE(records[1].function.endsWith("Stubborn>::deleteValue")) << records[1].function.toStdString();

  Named<int> number;
  EXPECT_FALSE(number.castString(""));
  EXPECT_EQ(recorder.records().back().function, "nubo::main::Parameter<int>::castString");
  Named<Counted> unknown;
  EXPECT_FALSE(unknown.castString("x"));
  EXPECT_FALSE(unknown.explainRefusal("x").isEmpty());
}

TEST(Parameter, ChecksTypesOfTypedAccess) {
  Named<QString> parameter("file");
  ASSERT_TRUE(parameter.castString("a b"));
  EXPECT_EQ(*parameter.getValue<QString>(), "a b");
  const auto previous = qInstallMessageHandler(keepMessage);
  EXPECT_EQ(parameter.getValue<int>(), nullptr);
  EXPECT_EQ(lastType, QtCriticalMsg);
  EXPECT_EQ(lastMessage, "Invalid type!");
  auto number = std::make_unique<int>(1);
  parameter.setValue(number.get());
  EXPECT_EQ(lastMessage, QString("Invalid type! (%1 <-> %2)").arg(typeid(int).name(), typeid(QString).name()));
  qInstallMessageHandler(previous);
  EXPECT_EQ(parameter.toString(), "a b");

  parameter.clearValue();
  const QString null = QString::asprintf("%p", static_cast<void*>(nullptr));
  EXPECT_EQ(parameter.toDebugString(), QString::asprintf("%p", static_cast<void*>(&parameter)) +
                                           " (file): value: " + null + "  binded: " + null + "\n");
}

TEST(TypeSolver, ConvertsThroughTextAndRefusesWhatDoesNotFit) {
  const main::TypeSolver solver;
  Named<QString> text;
  Named<int> whole;
  Named<double> real;
  Named<bool> flag;
  EXPECT_FALSE(solver.solve(&whole, &text)) << "there is no value";

  struct Row {
    const char* text;
    const char* whole;  // null: refused
    const char* real;
    const char* flag;
  };
  const Row rows[] = {{"1", "1", "1", "1"},
                      {"-250", "-250", "-250", nullptr},
                      {"2.5", nullptr, "2.5", nullptr},
                      {"1e6", nullptr, "1000000", nullptr},
                      {"99999999999", nullptr, "99999999999", nullptr},
                      {"nan", nullptr, nullptr, nullptr},
                      {"Yes", nullptr, nullptr, "1"},
                      {" OFF ", nullptr, nullptr, "0"},
                      {"TRUE", nullptr, nullptr, "1"},
                      {"false", nullptr, nullptr, "0"},
                      {"", nullptr, nullptr, nullptr}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    text.castString(row.text);
    const auto check = [&](main::AbstractParameter& target, const char* expected) {
      target.castString("0");
      EXPECT_EQ(solver.solve(&target, &text), expected != nullptr);
      EXPECT_EQ(target.toString(), expected ? expected : "0");
      EXPECT_EQ(target.explainRefusal(row.text).isEmpty(), expected != nullptr);
    };
    check(whole, row.whole);
    check(real, row.real);
    check(flag, row.flag);
  }

  real.castString("1e6");
  EXPECT_TRUE(solver.solve(&whole, &real));
  EXPECT_EQ(whole.toString(), "1000000");
  Named<int> copy;
  EXPECT_TRUE(solver.solve(&copy, &whole));
  EXPECT_NE(copy.getValuePointer(), whole.getValuePointer());
  EXPECT_EQ(copy.toString(), whole.toString());

  Named<Counted> unknown;
  unknown.setValuePointer(new Counted);
  EXPECT_FALSE(solver.solve(&text, &unknown));
  EXPECT_FALSE(solver.solve(&unknown, &text));
}

TEST(CastClass, ReadsPicturesFromFiles) {
  const QTemporaryDir directory;
  const QString fileName = directory.filePath("picture.png");
  QImage image(3, 2, QImage::Format_ARGB32);
  image.fill(Qt::green);
  ASSERT_TRUE(image.save(fileName));
  Named<QImage> parameter;
  ASSERT_TRUE(parameter.castString(fileName));
  EXPECT_EQ(parameter.getValue<QImage>()->size(), QSize(3, 2));
  EXPECT_EQ(parameter.toString(), fileName);
  EXPECT_FALSE(parameter.castString(directory.filePath("absent.png")));
  EXPECT_TRUE(parameter.explainRefusal("absent.png").contains("absent.png"));
}
