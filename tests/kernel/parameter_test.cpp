#include "kernel/main/parameter.h"

#include <gmock/gmock.h>

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
  inline static int alive = 0;
};

/// A type whose cast class throws at every turn and wants to do the deleting itself.
struct Stubborn {};

struct StubbornCast : main::CastClass {
  StubbornCast() : CastClass(true) {}
  void* fromString(const QString& text) override { return text == "bad" ? throw 7 : new Stubborn; }
  void* copy(const void*) override { return nullptr; }
  QString toString(const void*) override { return "stubborn"; }
  void deleteValue(void* value) override {
    delete static_cast<Stubborn*>(value);
    throw std::runtime_error("cannot delete");
  }
};

template <class T>
struct Named : Parameter<T> {
  explicit Named(const QString& text = QString()) : Parameter<T>("name", "description", "", true, nullptr) {
    if (!text.isNull()) this->castString(text);
  }
  ~Named() override { this->clearValue(); }
};

std::string lastMessage;

}  // namespace

TEST(Parameter, KeepsItsValueAndTheBoundVariableTogether) {
  Named<int> parameter;
  int* bound = new int(5);
  parameter.bind(&bound);
  EXPECT_EQ(parameter.toString(), "5");
  for (const char* text : {"12", "twelve"}) {  // which is refused
    EXPECT_EQ(parameter.castString(text), text == std::string("12"));
    ASSERT_EQ(bound, parameter.getValuePointer());
    EXPECT_EQ(*bound, 12);
  }
  int* other = nullptr;
  parameter.bind(&other);
  EXPECT_EQ(bound, nullptr);
  EXPECT_FALSE(parameter.hasValue());
  EXPECT_TRUE(parameter.toString().isNull());
  parameter.setValuePointer(new int(3));
  parameter.setValuePointer(other);
  EXPECT_EQ(*other, 3);
  parameter.bind(nullptr);
  EXPECT_EQ(other, nullptr);
  parameter.castString("4");
  EXPECT_EQ(other, nullptr);
}

TEST(Parameter, DeletesWhatItOwnsAndNothingElse) {
  Counted mine;
  Counted* bound = nullptr;
  {
    Parameter<Counted> parameter("counted", "", "", true, nullptr);
    for (const int alive : {2, 2}) {
      parameter.setValuePointer(new Counted);
      EXPECT_EQ(Counted::alive, alive);
    }
    parameter.clearValue();
    EXPECT_EQ(Counted::alive, 1);
    parameter.disableDeleteOnSet(true);
    parameter.bind(&bound);
    parameter.setValuePointer(&mine);
    EXPECT_EQ(bound, &mine);
    parameter.clearValue();
    EXPECT_EQ(bound, nullptr);
    parameter.disableDeleteOnSet(false);
    parameter.setValuePointer(&mine);
  }
  EXPECT_EQ(bound, &mine) << "its end leaves the variable and the value alone";
  EXPECT_EQ(Counted::alive, 1);

  auto set = std::make_unique<main::ParameterSet>(1, "set");
  set->addParameter(new Parameter<Counted>("counted", "", "", true, nullptr));
  set->parameters()[0]->setValuePointer(new Counted);
  main::ParameterSet copy = *set;
  set.reset();
  EXPECT_TRUE(copy.parameters()[0]->hasValue());
  EXPECT_EQ(Counted::alive, 2);
  copy = main::ParameterSet(2, "empty");
  EXPECT_EQ(Counted::alive, 1);
}

TEST(Parameter, TakesTheVeryObjectOfItsOwnTypeOnly) {
  Named<int> source("1"), target;
  Named<double> other("2.5");
  target.disableDeleteOnSet(true);
  target.takeValue(&other);
  EXPECT_FALSE(target.hasValue());
  target.takeValue(&source);
  EXPECT_EQ(target.getValuePointer(), source.getValuePointer());
}

TEST(Parameter, ReportsWhatCastClassesThrow) {
  main::CastClassManager::getInstance()->registerCastClass(typeid(Stubborn), [] { return new StubbornCast; });
  const test::LogCollector recorder;
  Parameter<Stubborn> parameter("stubborn", "", "", true, nullptr);
  ASSERT_TRUE(parameter.castString("good"));
  void* value = parameter.getValuePointer();
  EXPECT_FALSE(parameter.castString("bad"));
  EXPECT_EQ(parameter.getValuePointer(), value);
  parameter.clearValue();
  EXPECT_FALSE(parameter.hasValue());
  EXPECT_FALSE(Named<int>().castString(""));
  EXPECT_FALSE(Named<Counted>().castString("x"));
  EXPECT_FALSE(Named<Counted>().explainRefusal("x").isEmpty());

  QStringList told;
  for (const auto& record : recorder.records()) {
    EXPECT_EQ(record.level, 1000);
    EXPECT_EQ(record.file, "kernel/main/parameter");
    told << QString::number(record.line) + ' ' + record.function.section("::", 2) + ' ' + record.message;
  }
  ASSERT_EQ(told.size(), 4) << told.join('\n').toStdString();
  EXPECT_TRUE(told[1].endsWith("Stubborn>::deleteValue Save your data!")) << told[1].toStdString();
  EXPECT_TRUE(told[1].startsWith("194 ")) << told[1].toStdString();
  EXPECT_EQ(told[2], "87 Parameter<int>::castString Parameter::castString() There was an error!");
}

TEST(Parameter, ChecksTypesOfTypedAccess) {
  Named<QString> parameter("a b");
  EXPECT_EQ(*parameter.getValue<QString>(), "a b");
  const auto previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
    lastMessage = (type == QtCriticalMsg ? "critical: " : "") + message.toStdString();
  });
  EXPECT_EQ(parameter.getValue<int>(), nullptr);
  EXPECT_EQ(lastMessage, "critical: Invalid type!");
  int number = 1;
  parameter.setValue(&number);
  EXPECT_EQ(lastMessage, std::string("critical: Invalid type! (i <-> ") + typeid(QString).name() + ")");
  qInstallMessageHandler(previous);
  EXPECT_EQ(parameter.toString(), "a b");

  parameter.clearValue();
  EXPECT_EQ(parameter.toDebugString(),
            QString::asprintf("%p (name): value: %p  binded: %p\n", static_cast<void*>(&parameter), nullptr, nullptr));
}

TEST(TypeSolver, ConvertsThroughTextAndRefusesWhatDoesNotFit) {
  // A text, then what it is as int, as double and as bool; nothing where it is refused.
  const char* rows[] = {"1|1|1|1", "-250|-250|-250|", "2.5||2.5|", "1e6||1000000|", "99999999999||99999999999|",
                        "nan|||",  "Yes|||1",         " OFF |||0", "TRUE|||1",      "false|||0",
                        "|||"};
  const main::TypeSolver solver;
  Named<int> whole;
  Named<double> real;
  Named<bool> flag;
  EXPECT_FALSE(solver.solve(&whole, &real)) << "there is no value";
  for (const char* row : rows) {
    SCOPED_TRACE(row);
    const QStringList parts = QString(row).split('|');
    Named<QString> text(parts[0]);
    int part = 0;
    for (main::AbstractParameter* target : std::initializer_list<main::AbstractParameter*>{&whole, &real, &flag}) {
      const QString expected = parts[++part];
      target->castString("0");
      EXPECT_EQ(solver.solve(target, &text), !expected.isEmpty());
      EXPECT_EQ(target->toString(), expected.isEmpty() ? "0" : expected);
      EXPECT_EQ(target->explainRefusal(parts[0]).isEmpty(), !expected.isEmpty());
    }
  }
  real.castString("1e6");
  EXPECT_TRUE(solver.solve(&whole, &real));
  Named<int> copy;
  EXPECT_TRUE(solver.solve(&copy, &whole));
  EXPECT_EQ(copy.toString(), "1000000");
  Named<Counted> unknown;
  unknown.setValuePointer(new Counted);
  EXPECT_FALSE(solver.solve(&whole, &unknown));
  EXPECT_FALSE(solver.solve(&unknown, &whole));
}

TEST(CastClass, ReadsPicturesFromFiles) {
  const QTemporaryDir directory;
  const QString fileName = directory.filePath("picture.png");
  ASSERT_TRUE(QImage(3, 2, QImage::Format_ARGB32).save(fileName));
  Named<QImage> parameter(fileName);
  EXPECT_EQ(parameter.getValue<QImage>()->size(), QSize(3, 2));
  EXPECT_EQ(parameter.toString(), fileName);
  EXPECT_FALSE(parameter.castString(directory.filePath("absent.png")));
  EXPECT_TRUE(parameter.explainRefusal("absent.png").contains("absent.png"));
}
