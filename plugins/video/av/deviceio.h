// Lets FFmpeg read from and write to a QIODevice.
#pragma once

#include <QString>
#include <cstdint>

struct AVIOContext;
QT_BEGIN_NAMESPACE
class QIODevice;
QT_END_NAMESPACE

namespace nubo::grab::video::av {

class DeviceIo {
 public:
  /// The device is open, for writing or for reading, and outlives this. Throws Error.
  explicit DeviceIo(QIODevice* device);
  /// Does not write what is still buffered.
  ~DeviceIo();
  DeviceIo(const DeviceIo&) = delete;
  DeviceIo& operator=(const DeviceIo&) = delete;

  AVIOContext* context() const { return mp_Context; }
  /// Writes what FFmpeg and the device hold in buffers. Throws Error.
  void flush();
  /// From now on, what is written is dropped and the device left alone.
  void discard();
  /// Throws Error with the device's own text if a write failed since construction.
  void checkWritten() const;

 private:
  static int read(void* self, unsigned char* data, int size);
  static int write(void* self, unsigned char* data, int size);
  static std::int64_t seek(void* self, std::int64_t offset, int whence);

  int writeFailed();

  QIODevice* mp_Device;  ///< null when discarding
  AVIOContext* mp_Context;
  QString m_Failure;
};

}  // namespace nubo::grab::video::av
