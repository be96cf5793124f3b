#include "kernel/util/ypointer.h"

namespace nubo::util {

YObject::~YObject() = default;

}  // namespace nubo::util
