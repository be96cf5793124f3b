// Reads CAD files with Open CASCADE.
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Standard_Failure.hxx>
#include <charconv>

#include "plugins/readers/cad/document.h"
#include "plugins/readers/cad/product.h"

namespace nubo::reader {
namespace {

double finenessOf(const Output& output) {
  const std::string chosen = output.option("fineness");
  double factor = 1;
  std::from_chars(chosen.data(), chosen.data() + chosen.size(), factor);
  return factor > 0 ? factor : 1;
}

}  // namespace
}  // namespace nubo::reader

NUBO_READER_ENTRY(file, format, output) {
  using namespace nubo::reader;
  // Nobody would see what it prints.
  Message::DefaultMessenger()->ChangePrinters().Clear();
  try {
    ProductConverter(readDocument(file, format, output), finenessOf(output), output).convert();
  } catch (const Standard_Failure& failure) {
    const std::string cause = failure.GetMessageString();
    throw Refusal(cause.empty() ? "its content is not understood" : cause);
  }
}
