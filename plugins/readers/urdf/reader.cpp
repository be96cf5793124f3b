// Reads descriptions of robots with urdfdom.
#include <console_bridge/console.h>
#include <urdf_parser/urdf_parser.h>

#include <fstream>

#include "plugins/readers/urdf/robot.h"

namespace nubo::reader {
namespace {

/// What urdfdom has against a description.
class Complaints : public console_bridge::OutputHandler {
 public:
  Complaints() { console_bridge::useOutputHandler(this); }
  ~Complaints() override { console_bridge::restorePreviousOutputHandler(); }
  Complaints(const Complaints&) = delete;
  Complaints& operator=(const Complaints&) = delete;
  void log(const std::string& text, console_bridge::LogLevel level, const char*, int) override {
    if (level == console_bridge::CONSOLE_BRIDGE_LOG_ERROR && m_First.empty()) m_First = text.substr(0, text.find('\n'));
  }
  const std::string& first() const { return m_First; }

 private:
  std::string m_First;
};

}  // namespace
}  // namespace nubo::reader

NUBO_READER_ENTRY(file, format, output) {
  using namespace nubo::reader;
  static_cast<void>(format);
  std::ifstream stream(file, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  const Complaints complaints;
  const urdf::ModelInterfaceSharedPtr robot = urdf::parseURDF(content);
  if (!robot) throw Refusal(complaints.first().empty() ? "its content is not understood" : complaints.first());
  RobotConverter(*robot, file, output).convert();
}
