// Which FFmpeg libraries the plug-in is built with, told without loading them.
#pragma once

#include "kernel/main/informationobject.h"

namespace nubo::grab::video::av {

main::ThirdPartyInfos librariesBuiltWith();

}  // namespace nubo::grab::video::av
