// What the plug-in asks of the library beside it that holds the codecs.
#pragma once

#include "module_grab/video/encoder.h"

namespace nubo::grab::video::av {

/// The type of what the library exports under the plain name newEncoder: a new encoder, owned by the caller, for one of
/// the plug-in's extensions; null for any other.
using NewEncoder = Encoder* (*)(const char* extension);

}  // namespace nubo::grab::video::av
