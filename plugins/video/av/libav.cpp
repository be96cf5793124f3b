#include "plugins/video/av/libav.h"

#include <array>
#include <cstdarg>

#include "kernel/log/logger.h"

namespace nubo::grab::video::av {

namespace {

/// Called on any of FFmpeg's threads.
void forwardError(void* context, int level, const char* format, va_list arguments) {
  constexpr int levelBits = 0xff;  // above them, a colour for terminals
  if ((level & levelBits) > AV_LOG_ERROR) return;
  std::array<char, 1024> line{};
  int printPrefix = 1;
  av_log_format_line2(context, level, format, arguments, line.data(), static_cast<int>(line.size()), &printPrefix);
  NUBO_LOG(nubo::log::Failure, "libav", QString::fromUtf8(line.data()).simplified());
}

}  // namespace

int check(int result, const char* action) {
  if (result >= 0) return result;
  std::array<char, AV_ERROR_MAX_STRING_SIZE> reason{};
  av_strerror(result, reason.data(), reason.size());
  throw Error(QStringLiteral("%1: %2").arg(QLatin1String(action), QString::fromLocal8Bit(reason.data())));
}

Options::Options(const char* text) {
  check(av_dict_parse_string(&mp_Options, text, "=", ":", 0), "Couldn't read the settings");
}

void Options::checkAllUsed() const {
  if (const auto* unused = av_dict_get(mp_Options, "", nullptr, AV_DICT_IGNORE_SUFFIX))
    throw Error(QStringLiteral("The installed libraries don't know the setting '%1'").arg(QLatin1String(unused->key)));
}

LogForwarding::LogForwarding() { av_log_set_callback(&forwardError); }

LogForwarding::~LogForwarding() { av_log_set_callback(&av_log_default_callback); }

}  // namespace nubo::grab::video::av
