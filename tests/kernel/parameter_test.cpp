#include "kernel/main/parameter.h"

#include <gtest/gtest.h>

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

template <class T>
struct Named : Parameter<T> {
  explicit Named(const QString& text = QString()) : Parameter<T>("name", "description", "", true, nullptr) {
    if (!text.isNull()) this->castString(text);
  }
  ~Named() override { this->clearValue(); }
};

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

TEST(Parameter, TellsOfWhatIsNotOfItsType) {
  Named<int> number("1"), copy;
  Named<double> other("2.5");
  const test::LogCollector log;
  EXPECT_FALSE(number.castString("one"));
  const log::Record record = log.records().at(0);
  EXPECT_EQ(QString("%1 %2:%3").arg(record.level).arg(record.file).arg(record.line), "1000 kernel/main/parameter:87");
  EXPECT_EQ(record.function + ' ' + record.message,
            "nubo::main::Parameter<int>::castString Parameter::castString() There was an error!");
  static QStringList told;
  const auto previous = qInstallMessageHandler([](QtMsgType, auto&, const QString& message) { told << message; });
  EXPECT_EQ(number.getValue<double>(), nullptr);
  number.setValue(other.getValue<double>());
  qInstallMessageHandler(previous);
  EXPECT_EQ(told, QStringList({"Invalid type!", "Invalid type! (d <-> i)"}));
  number.takeValue(&other);
  EXPECT_EQ(number.toString(), "1");
  copy.disableDeleteOnSet(true);
  copy.takeValue(&number);
  EXPECT_EQ(copy.getValuePointer(), number.getValuePointer());
  EXPECT_EQ(number.toDebugString(), QString::asprintf("%p (name): value: %p  binded: %p\n", static_cast<void*>(&number),
                                                      number.getValuePointer(), nullptr));
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
