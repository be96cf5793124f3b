// The tree of links and joints.
#pragma once

#include <urdf_model/model.h>

#include <map>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// Makes nodes of a robot's links, each below its joint, which has a node of its own.
class RobotConverter {
 public:
  /// All must outlive it. `file` is where the description lies.
  RobotConverter(const urdf::ModelInterface& robot, const std::string& file, Output& output)
      : m_Robot(robot), m_File(file), m_Output(output) {}

  /// Throws Refusal for what is no tree.
  void convert();

 private:
  void add(const urdf::Link& link, std::int32_t parent, int depth);
  void addVisual(const urdf::Visual& visual, std::int32_t link);
  void addJoint(const urdf::Joint& joint, std::int32_t node);
  std::int32_t add(Node node);
  std::int32_t materialOf(const urdf::Visual& visual);

  const urdf::ModelInterface& m_Robot;
  const std::string& m_File;
  Output& m_Output;
  std::map<std::array<float, 4>, std::int32_t> m_Materials;  ///< by colour
};

}  // namespace nubo::reader
