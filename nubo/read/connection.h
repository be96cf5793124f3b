// The reading process's end of the talk with the program.
#pragma once

#include <chrono>
#include <map>
#include <vector>

#include "module_scene/io/reader/message.h"
#include "module_scene/io/reader/reader.h"
#include "module_scene/io/reader/record.h"

namespace nubo::read {

/// Hands out memory that the program has made, and tells it how reading goes. Once the program is gone, so is this
/// process.
class Connection : public reader::Output {
 public:
  void progress(double fraction) override;
  void warning(const std::string& text) override;
  std::string option(const std::string& name) const override;
  /// Takes "NAME=VALUE".
  void setOption(const std::string& word);
  /// Part of the sandbox is not to be had.
  void unprotected(const std::string& text);
  /// The file cannot be read: the last message.
  void refuse(const std::string& text);
  /// All is read: hands the model over, as the last message.
  void finish();

 protected:
  void* allocate(std::size_t bytes) override;

 private:
  struct Block {
    char* memory;
    std::size_t size;
  };
  void send(reader::Message::Kind kind, std::uint64_t value, const std::string& text = std::string());
  Block addBlock(std::size_t size);

  std::chrono::steady_clock::time_point m_LastProgress;  ///< that was told
  std::vector<Block> m_Blocks;
  std::map<std::string, std::string> m_Options;
  char* mp_Pool = nullptr;     ///< where the next short array goes, in a block that holds several
  std::size_t m_PoolLeft = 0;  ///< bytes that are free there
};

}  // namespace nubo::read
