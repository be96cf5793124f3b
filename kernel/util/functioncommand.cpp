#include "kernel/util/functioncommand.h"

#include <utility>

namespace nubo::util {

FunctionCommand::FunctionCommand(boost::function<void()> function, bool internal, main::CommandDescriptor* descriptor)
    : Command(descriptor, nullptr), m_Function(std::move(function)), m_Internal(internal) {}

void FunctionCommand::execute() { m_Function(); }

}  // namespace nubo::util
