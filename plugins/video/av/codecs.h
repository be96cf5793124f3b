// What the plug-in asks of the library beside it that holds the codecs.
#pragma once

#include "kernel/main/informationobject.h"
#include "module_grab/video/encoder.h"

namespace nubo::grab::video::av {

/// Told of each format; the texts live as long as the codecs are loaded.
using FormatReceiver = void (*)(const char* extension, const char* description, void* context);

/// The types of what the library exports under the plain names listFormats, describeLibraries and newEncoder.
using ListFormats = void (*)(FormatReceiver receiver, void* context);
using DescribeLibraries = void (*)(main::ThirdPartyInfos* infos);
/// A new encoder, owned by the caller; null for an extension that was not listed.
using NewEncoder = Encoder* (*)(const char* extension);

}  // namespace nubo::grab::video::av
