// The files that Open CASCADE reads, as one kind of document.
#pragma once

#include <TDocStd_Document.hxx>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// Shapes with their names, colours and places in each other; lengths are in millimetres. `format` is a suffix. Throws
/// Refusal, or Standard_Failure.
Handle(TDocStd_Document) readDocument(const std::string& file, const std::string& format, Output& output);

}  // namespace nubo::reader
