#include "nubo/cli/commandarguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QSlider>
#include <QTemporaryDir>

#include "kernel/main/command.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "nubo/cli/filecheck.h"
#include "nubo/cli/help.h"

using namespace nubo;
using namespace nubo::app;
using testing::HasSubstr;

namespace {

class Sample : public main::Command {
 public:
  Sample() : Command(new main::CommandDescriptor("Takes a sample", "sample"), nullptr) {
    main::ParameterSet set(7, "");
    set.addParameter(new main::Parameter<QString>("File name", "Where to write", "", true, &m_File));
    set.addParameter(new main::Parameter<int>("count", "How many", "", true, nullptr));
    set.addParameter(new main::Parameter<int>("max. tempfile-size (MB)", "How much", "", true, &m_Slider));
    set.addParameter(new main::Parameter<bool>("flag", "Whether (0=true, 1=false)", "", false, nullptr));
    set.parameters()[1]->setDefaultParameterForDefaultGUI("3");
    m_ParameterSets.push_back(set);
  }
  void execute() override {}
  QString value(int index) const { return m_ParameterSets[0].parameters()[index]->toString(); }
  int currentSet() const { return m_CurrentParameterSetID; }

 private:
  main::FileParameterPanelFactory m_File{[] {
    auto* dialog = new QFileDialog;
    dialog->setNameFilters({"Plain text (*.txt)", "Rich text (*.rtf)"});
    return dialog;
  }};
  main::SliderParameterPanelFactory m_Slider{[] {
    auto* slider = new QSlider;
    slider->setValue(42);
    return slider;
  }};
};

TEST(CommandArguments, FillGivenValuesAndDefaults) {
  const QTemporaryDir directory;
  const QString file = directory.filePath("out.txt");
  Sample command;
  ASSERT_EQ(bindArguments(command, {{"file-name", file}, {"flag", QString()}}), "");
  EXPECT_EQ(command.currentSet(), 7);
  EXPECT_EQ(command.value(0), file);
  EXPECT_EQ(command.value(1), "3");
  EXPECT_EQ(command.value(2), "42") << "a slider's place is its default";
  EXPECT_EQ(command.value(3), "1");
  EXPECT_EQ(targetFiles(command), QStringList{file});
  EXPECT_TRUE(QDir(directory.path()).isEmpty()) << "trying leaves nothing behind";
}

TEST(CommandArguments, RefuseWithAReason) {
  const QTemporaryDir directory;
  const QString file = directory.filePath("out.txt");
  struct Row {
    Arguments arguments;
    const char* reason;
  };
  const Row rows[] = {
      {{}, "--file-name is missing (Where to write)"},
      {{{"file-name", file}, {"conut", "3"}}, "--conut: unknown parameter; did you mean \"--count\"?"},
      {{{"file-name", file}, {"siez", "3x3"}}, "--siez: unknown parameter; did you mean \"--size\"?"},
      {{{"file-name", file}, {"count", "3"}, {"count", "4"}}, "--count is given twice"},
      {{{"file-name", file}, {"count", QString()}}, "--count needs a value"},
      {{{"file-name", file}, {"count", "abc"}}, "--count: \"abc\""},
      {{{"file-name", file}, {"flag", "perhaps"}}, "--flag: \"perhaps\""},
      {{{"file-name", ""}}, "a file name is wanted"},
      {{{"file-name", directory.path()}}, "is a directory"},
      {{{"file-name", directory.filePath("none/out.txt")}}, "does not exist"},
      {{{"file-name", "/proc/out.txt"}}, "cannot write into the directory /proc"},
      {{{"file-name", "/dev/null"}}, "is not an ordinary file"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    Sample command;
    EXPECT_THAT(bindArguments(command, row.arguments).toStdString(), HasSubstr(row.reason));
    EXPECT_EQ(command.value(1), "") << "nothing was set";
  }
}

TEST(CommandArguments, TryingAnExistingFileKeepsIt) {
  const QTemporaryDir directory;
  QFile file(directory.filePath("old.txt"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("kept");
  file.close();
  EXPECT_EQ(whyNotWritable(file.fileName()), "");
  EXPECT_THAT(whyNotWritable(file.fileName() + "/below.txt").toStdString(), HasSubstr("not a directory"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll(), "kept");
}

TEST(CommandArguments, HelpTellsWhatAValueDoes) {
  Sample command;
  EXPECT_EQ(commandHelpText(command), QString(R"(Usage: nubo [options] [SCENE ...] sample [--PARAMETER VALUE ...]

Takes a sample

Parameters:
  --file-name FILE               Where to write (required)
      one of:
        Plain text (*.txt)
        Rich text (*.rtf)
  --count NUMBER                 How many (default: 3)
  --max-tempfile-size-mb NUMBER  How much (default: 42)
  --flag YES|NO                  Whether (0=true, 1=false); 1 or yes turns it
                                 on, 0 or no off: the numbers in the
                                 description are the wrong way round
)"));
}

}  // namespace
