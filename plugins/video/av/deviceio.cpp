#include "plugins/video/av/deviceio.h"

#include <QFileDevice>

#include "plugins/video/av/libav.h"

namespace nubo::grab::video::av {

namespace {

constexpr int bufferSize = 1 << 16;

/// A disk that fills up takes a part of the data, which Qt reports without a reason; trying the rest brings it out.
bool flushed(QIODevice* device) {
  auto* file = qobject_cast<QFileDevice*>(device);
  return !file || file->flush() || file->flush();
}

}  // namespace

DeviceIo::DeviceIo(QIODevice* device) : mp_Device(device) {
  auto* buffer = static_cast<unsigned char*>(checkAllocated(av_malloc(bufferSize)));
  mp_Context = avio_alloc_context(buffer, bufferSize, device->isWritable(), this, &read, &write,
                                  device->isSequential() ? nullptr : &seek);
  if (!mp_Context) av_free(buffer);
  checkAllocated(mp_Context);
}

DeviceIo::~DeviceIo() {
  av_freep(&mp_Context->buffer);
  avio_context_free(&mp_Context);
}

void DeviceIo::flush() {
  avio_flush(mp_Context);
  checkWritten();
  if (!flushed(mp_Device)) m_Failure = mp_Device->errorString();
  checkWritten();
}

void DeviceIo::discard() {
  mp_Device = nullptr;
  mp_Context->error = 0;
}

void DeviceIo::checkWritten() const {
  if (!m_Failure.isEmpty()) throw Error(QStringLiteral("Couldn't write the video: %1").arg(m_Failure));
  check(mp_Context->error, "Couldn't write the video");
}

int DeviceIo::read(void* self, unsigned char* data, int size) {
  const qint64 count = static_cast<DeviceIo*>(self)->mp_Device->read(reinterpret_cast<char*>(data), size);
  if (count == 0) return AVERROR_EOF;
  return count > 0 ? static_cast<int>(count) : AVERROR(EIO);
}

int DeviceIo::write(void* self, unsigned char* data, int size) {
  auto* io = static_cast<DeviceIo*>(self);
  if (!io->mp_Device) return size;
  for (int written = 0; written < size;) {
    const qint64 count = io->mp_Device->write(reinterpret_cast<const char*>(data) + written, size - written);
    if (count <= 0) return io->writeFailed();
    written += static_cast<int>(count);
  }
  return size;
}

int DeviceIo::writeFailed() {
  flushed(mp_Device);
  if (m_Failure.isEmpty()) m_Failure = mp_Device->errorString();
  return AVERROR(EIO);
}

std::int64_t DeviceIo::seek(void* self, std::int64_t offset, int whence) {
  auto* device = static_cast<DeviceIo*>(self)->mp_Device;
  if (!device) return offset;
  if (whence & AVSEEK_SIZE) return device->size();
  if ((whence & ~AVSEEK_FORCE) != SEEK_SET) return AVERROR(EINVAL);  // libavformat translates the others
  return device->seek(offset) ? offset : AVERROR(EIO);
}

}  // namespace nubo::grab::video::av
