#include "kernel/main/commanddescriptor.h"

namespace nubo::main {

GUIDescriptor::~GUIDescriptor() = default;

CommandGUIDescriptor::CommandGUIDescriptor(GUIFLAG flag, const QString& group, int position, const QString& commandName,
                                           const QString& label, QIcon* icon)
    : m_Flag(flag), m_Group(group), m_Position(position), m_CommandName(commandName), m_Label(label), mp_Icon(icon) {}

CommandGUIDescriptor::~CommandGUIDescriptor() = default;

}  // namespace nubo::main
