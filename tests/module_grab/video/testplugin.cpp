// An encoder plug-in in several variants: PLUGIN_NAME is its description and the name in its record; without
// PLUGIN_EXTENSIONS it has no doRegister, which otherwise ends with PLUGIN_RESULT.
#include <QStringList>
#include <stdexcept>

#include "kernel/main/informationobject.h"
#include "module_grab/video/encoder.h"
#include "module_grab/video/videoencoder.h"

namespace {

using nubo::grab::video::Encoder;
using nubo::grab::video::VideoEncoder;

class NullEncoder : public Encoder {
 public:
  explicit NullEncoder(const char* name) { setObjectName(QLatin1String(name)); }

 protected:
  bool initEncoding() override { return true; }
  bool encodeChunk(QIODevice* /*chunk*/, bool /*last*/) override { return true; }
  void finishEncoding() override {}
};

[[maybe_unused]] bool fail() { throw std::runtime_error("refused"); }

}  // namespace

#ifdef PLUGIN_LACKS
// A call, which could be bound as late as it is made.
extern void PLUGIN_LACKS();
Q_DECL_EXPORT void callWhatIsLacking() { PLUGIN_LACKS(); }
#endif

#ifdef PLUGIN_EXTENSIONS
extern "C" Q_DECL_EXPORT bool doRegister() {
  static char name[] = PLUGIN_NAME;
  for (const QString& extension : QStringLiteral(PLUGIN_EXTENSIONS).split(QLatin1Char(','))) {
    const auto create = [](void* text) -> Encoder* { return new NullEncoder(static_cast<const char*>(text)); };
    VideoEncoder::getInstance()->registerEncoder(create, extension, QStringLiteral(PLUGIN_NAME), name);
    VideoEncoder::getInstance()->limitFrameRate(extension, 10, 0);
  }
  return PLUGIN_RESULT;
}
#endif

extern "C" Q_DECL_EXPORT nubo::main::ThirdPartyInfos getInfos() {
#ifdef PLUGIN_INFOS_FAIL
  fail();
#endif
  return {QStringLiteral(PLUGIN_NAME), QStringLiteral("1.0"), QStringLiteral("none"), QString()};
}
