// What recordings take from the settings.
#pragma once

namespace nubo::grab {

struct VideoSettings {
  int chunkMegabytes;      ///< of 1,000,000 bytes, 1 to 1000
  int fps;                 ///< frames per second, as stored
  int bitrate;             ///< bits per second, as stored, as far as an int holds them
  bool isBitrateChosen;    ///< false: it is a mere default
  bool useMemoryAsBuffer;  ///< chunks go to memory first
};

/// Beside the stored bit rate: whether its user chose it.
constexpr char BitrateChosenKey[] = "settings/grabvideokbpschosen";
/// In force on the calling thread.
bool isBitrateChosen();
/// Those in force on the calling thread, whatever stands in a settings file.
VideoSettings readVideoSettings();

}  // namespace nubo::grab
