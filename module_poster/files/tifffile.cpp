#include "module_poster/files/tifffile.h"

#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <QFileInfo>
#include <cerrno>
#include <cstring>

#include "module_poster/files/error.h"

namespace nubo::poster {

/// What libtiff reads and writes: the file behind a QSaveFile, which itself does not let what is written be read again.
/// Remembers the first failure of the disk, which libtiff tells in words of its own.
class TiffFile::Device {
 public:
  explicit Device(int descriptor) : m_Descriptor(descriptor) {}

  static tmsize_t read(thandle_t device, void* data, tmsize_t size) {
    return transfer(device, size, [&](int file, tmsize_t done) {
      return ::read(file, static_cast<char*>(data) + done, std::size_t(size - done));
    });
  }
  static tmsize_t write(thandle_t device, void* data, tmsize_t size) {
    return transfer(device, size, [&](int file, tmsize_t done) {
      return ::write(file, static_cast<char*>(data) + done, std::size_t(size - done));
    });
  }
  static toff_t seek(thandle_t device, toff_t offset, int whence) {
    return toff_t(::lseek(of(device).m_Descriptor, off_t(offset), whence));
  }
  static toff_t size(thandle_t device) {
    struct stat status = {};
    return fstat(of(device).m_Descriptor, &status) == 0 ? toff_t(status.st_size) : 0;
  }
  static int close(thandle_t) { return 0; }
  /// libtiff would print it.
  static int note(TIFF*, void* device, const char*, const char* format, va_list arguments) {
    QString& reason = of(device).m_Reason;
    if (reason.isEmpty()) reason = QString::vasprintf(format, arguments);
    return 1;
  }

  QString reason() const { return m_Errno ? qt_error_string(m_Errno) : m_Reason; }

 private:
  static Device& of(void* device) { return *static_cast<Device*>(device); }

  template <class Step>
  static tmsize_t transfer(thandle_t device, tmsize_t size, Step step) {
    tmsize_t done = 0;
    while (done < size) {
      const ssize_t more = step(of(device).m_Descriptor, done);
      if (more < 0 && errno == EINTR) continue;
      if (more < 0 && !of(device).m_Errno) of(device).m_Errno = errno;
      if (more <= 0) break;
      done += more;
    }
    return done;
  }

  int m_Descriptor;
  int m_Errno = 0;
  QString m_Reason;
};

TiffFile::TiffFile(const Description& description, const QString& fileName)
    : m_Description(description),
      m_Layout(description.layout()),
      m_File(fileName),
      mp_Tiff(nullptr, TIFFClose),
      m_Scratch(QFileInfo(fileName).absolutePath()) {
  if (!m_File.open(QIODevice::WriteOnly)) throw Error(m_File.errorString());
  mp_Device = std::make_unique<Device>(m_File.handle());
  const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                             TIFFOpenOptionsFree);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), Device::note, mp_Device.get());
  mp_Tiff.reset(TIFFClientOpenExt("poster", "w8", mp_Device.get(), Device::read, Device::write, Device::seek,
                                  Device::close, Device::size, nullptr, nullptr, options.get()));
  if (!mp_Tiff) fail();
  for (int level = 1; level < m_Layout.levels(); ++level)
    m_Smaller.emplace_back(std::size_t(m_Layout.columns(level)) * std::size_t(m_Layout.rows(level)));
  describe(0);
}

TiffFile::~TiffFile() = default;

void TiffFile::describe(int level) {
  constexpr uint16_t Horizontal = 2, StraightAlpha = EXTRASAMPLE_UNASSALPHA;
  TIFF* const file = mp_Tiff.get();
  const QSize size = m_Layout.size(level);
  bool isSet =
      TIFFSetField(file, TIFFTAG_SUBFILETYPE, level > 0 ? FILETYPE_REDUCEDIMAGE : 0) &&
      TIFFSetField(file, TIFFTAG_IMAGEWIDTH, uint32_t(size.width())) &&
      TIFFSetField(file, TIFFTAG_IMAGELENGTH, uint32_t(size.height())) &&
      TIFFSetField(file, TIFFTAG_TILEWIDTH, uint32_t(m_Layout.edge())) &&
      TIFFSetField(file, TIFFTAG_TILELENGTH, uint32_t(m_Layout.edge())) &&
      TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, 8) && TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 4) &&
      TIFFSetField(file, TIFFTAG_EXTRASAMPLES, 1, &StraightAlpha) &&
      TIFFSetField(file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB) &&
      TIFFSetField(file, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
      TIFFSetField(file, TIFFTAG_COMPRESSION,
                   m_Description.format.coding == Coding::Zstd ? COMPRESSION_ZSTD : COMPRESSION_ADOBE_DEFLATE) &&
      TIFFSetField(file, TIFFTAG_PREDICTOR, Horizontal);
  if (const double dotsPerInch = m_Description.dotsPerInch; dotsPerInch > 0)
    isSet = isSet && TIFFSetField(file, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) &&
            TIFFSetField(file, TIFFTAG_XRESOLUTION, dotsPerInch / (1 << level)) &&
            TIFFSetField(file, TIFFTAG_YRESOLUTION, dotsPerInch / (1 << level));
  if (!isSet) fail();
}

void TiffFile::put(const TileId& tile, const QByteArray& bytes) {
  if (tile.level == 0)
    write(tile, bytes);
  else
    m_Smaller[std::size_t(tile.level - 1)][std::size_t(tile.row) * std::size_t(m_Layout.columns(tile.level)) +
                                           std::size_t(tile.column)] = m_Scratch.keep(bytes);
}

/// libtiff has one directory open at a time, and may change the bytes while it writes them.
void TiffFile::write(const TileId& tile, QByteArray bytes) {
  const uint32_t number = TIFFComputeTile(mp_Tiff.get(), uint32_t(tile.column * m_Layout.edge()),
                                          uint32_t(tile.row * m_Layout.edge()), 0, 0);
  if (TIFFWriteRawTile(mp_Tiff.get(), number, bytes.data(), bytes.size()) != bytes.size()) fail();
}

void TiffFile::commit() {
  for (int level = 0; level < m_Layout.levels(); ++level) {
    if (level > 0) {
      describe(level);
      std::size_t next = 0;
      for (int row = 0; row < m_Layout.rows(level); ++row)
        for (int column = 0; column < m_Layout.columns(level); ++column)
          write({level, column, row}, m_Scratch.take(m_Smaller[std::size_t(level - 1)][next++]));
    }
    if (!TIFFWriteDirectory(mp_Tiff.get())) fail();
  }
  if (!TIFFFlush(mp_Tiff.get())) fail();
  mp_Tiff.reset();
  if (!mp_Device->reason().isEmpty()) fail();
  if (!m_File.commit()) throw Error(m_File.errorString());
}

void TiffFile::fail() const { throw Error(mp_Device->reason()); }

}  // namespace nubo::poster
