// What a reader plug-in implements, and what it is given. See docs/reader-plugins.md.
#pragma once

#include <cstring>
#include <initializer_list>
#include <stdexcept>

#include "module_scene/io/reader/model.h"

namespace nubo::reader {

/// A text for the user: English, in UTF-8, one line. What stands for %1, %2 ... is kept apart, so that the program can
/// show the text in the user's language.
inline std::string text(std::string pattern, std::initializer_list<std::string> values = {}) {
  for (const std::string& value : values) (pattern += '\x1f') += value;
  return pattern;
}

/// Thrown by a reader: why the file cannot be read, to go on after "cannot read 'FILE': ". Other exceptions are shown
/// by what(), too.
struct Refusal : std::runtime_error {
  explicit Refusal(const std::string& pattern, std::initializer_list<std::string> values = {})
      : std::runtime_error(text(pattern, values)) {}
};

/// Where a reader puts what it reads. On the thread that called the reader only.
class Output {
 public:
  Model model;

  /// Memory that is shared with the program, all of it 0; what is not touched costs nothing. Throws std::bad_alloc.
  template <class T>
  Array<T> array(std::size_t size) {
    if (size > std::size_t(-1) / sizeof(T)) throw std::bad_alloc();
    return {size == 0 ? nullptr : static_cast<T*>(allocate(size * sizeof(T))), size};
  }
  /// A copy of the reader's own values. For what is long, array() saves the second copy.
  template <class T>
  Array<T> array(const std::vector<T>& values) {
    const Array<T> result = array<T>(values.size());
    if (!values.empty()) std::memcpy(result.data(), values.data(), values.size() * sizeof(T));
    return result;
  }

  /// How much is done, 0 to 1; below 0: nobody knows, but something. Cheap enough for every few thousand values. A
  /// reader that does not call it for a time (60 s, if the user has set no other) is taken to hang, and ended.
  virtual void progress(double fraction) = 0;
  /// Something that is missing in what is read (see text()).
  virtual void warning(const std::string& text) = 0;
  /// What the user has chosen by that name, such as "fineness"; nothing where that was left to the reader.
  virtual std::string option(const std::string& name) const = 0;

 protected:
  virtual ~Output() = default;
  virtual void* allocate(std::size_t bytes) = 0;  ///< at a multiple of 16
};

/// The version of all this. A plug-in of another one is not loaded.
constexpr int InterfaceVersion = 4;

}  // namespace nubo::reader

// What a plug-in exports. `file` is the model's path, `format` the suffix of the format that it holds, by its content:
// the file itself may be called otherwise. NOLINTBEGIN(bugprone-macro-parentheses): names of parameters have none.
#define NUBO_READER_ENTRY(file, format, output)                                                           \
  extern "C" __attribute__((visibility("default"))) const int nuboReaderInterface;                        \
  extern "C" const int nuboReaderInterface = nubo::reader::InterfaceVersion;                              \
  extern "C" __attribute__((visibility("default"))) void nuboRead(const std::string&, const std::string&, \
                                                                  nubo::reader::Output&);                 \
  extern "C" void nuboRead(const std::string& file, const std::string& format, nubo::reader::Output& output)
// NOLINTEND(bugprone-macro-parentheses)
