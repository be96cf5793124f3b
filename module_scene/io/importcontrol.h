// The talk with a file that is being read.
#pragma once

#include <QString>
#include <atomic>
#include <chrono>
#include <map>
#include <string>

namespace nubo::io {

/// What is said before a file is read.
struct ImportSettings {
  /// How long a reader may get no further. In all it may take a tenth longer, and as long again for every 8 MB of its
  /// file and every 64 MB that it hands over.
  std::chrono::milliseconds patience = std::chrono::seconds(60);
  std::map<std::string, std::string> options;  ///< what readers may ask for, by name (reader::Output::option)
  QString variant;                             ///< the name of a choice of materials, for files that have it
};

/// Shared by who reads and who waits; any thread, but for the settings, which stay as they are meanwhile.
struct ImportControl : ImportSettings {
  ImportControl() = default;
  explicit ImportControl(const ImportSettings& settings) : ImportSettings(settings) {}

  std::atomic<bool> cancelled{false};  ///< set: reading ends soon, with an error
  std::atomic<int> percent{-1};        ///< of what is being read; below 0: nobody knows
};

}  // namespace nubo::io
