// Some builds of Assimp check themselves and abort the program when a damaged file confuses them. They call
// this function to do so and, since this library comes before Assimp in the order in which symbols are
// looked up, find this one: the file is then refused like any other that cannot be read. Builds without such
// checks, and platforms without such an order, do not see it.
#include <stdexcept>

namespace Assimp {

__attribute__((visibility("default"))) void aiAssertViolation(const char* failedExpression, const char* file, int line);

void aiAssertViolation(const char*, const char*, int) {
  throw std::runtime_error("its content is damaged in a way that cannot be made sense of");
}

}  // namespace Assimp
