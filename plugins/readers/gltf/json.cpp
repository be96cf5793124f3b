#include "plugins/readers/gltf/json.h"

#include <algorithm>
#include <string_view>

namespace nubo::reader {
namespace {

using rapidjson::Value;

Refusal refusal(std::string_view text, std::size_t offset) {
  const std::string_view before = text.substr(0, offset);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0, where there is none
  return Refusal("it is damaged, or no glTF: %1", {"parse error at line " + std::to_string(line) + ", column " +
                                                   std::to_string(offset - lineStart + 1)});
}

std::string_view nameOf(const Value::Member& member) {
  return {member.name.GetString(), member.name.GetStringLength()};
}

/// Makes the members of objects the last of their names, and looks how deeply they are nested.
class Tidying {
 public:
  explicit Tidying(rapidjson::Document& document) : m_Allocator(document.GetAllocator()) {}

  void tidy(Value& root) {
    add(root, 1);
    while (!m_Waiting.empty()) {
      const auto [value, depth] = m_Waiting.back();
      m_Waiting.pop_back();
      if (depth > Deepest) throw Refusal("its text is nested too deeply");
      if (value->IsObject()) {
        dropDoubled(*value);
        for (Value::Member& member : value->GetObject()) add(member.value, depth + 1);
      } else {
        for (Value& element : value->GetArray()) add(element, depth + 1);
      }
    }
  }

 private:
  static constexpr int Deepest = 500;

  void add(Value& value, int depth) {
    if (value.IsObject() || value.IsArray()) m_Waiting.emplace_back(&value, depth);
  }

  void dropDoubled(Value& object) {
    m_Members.clear();
    for (Value::Member& member : object.GetObject()) m_Members.push_back(&member);
    // Where they lie is the order in which the text has them.
    std::sort(m_Members.begin(), m_Members.end(), [](const Value::Member* a, const Value::Member* b) {
      const int order = nameOf(*a).compare(nameOf(*b));
      return order == 0 ? a < b : order < 0;
    });
    const auto isSame = [](const Value::Member* a, const Value::Member* b) { return nameOf(*a) == nameOf(*b); };
    if (std::adjacent_find(m_Members.begin(), m_Members.end(), isSame) == m_Members.end()) return;
    Value kept(rapidjson::kObjectType);
    for (auto last = m_Members.begin(); last != m_Members.end(); ++last)
      if (const auto next = last + 1; next == m_Members.end() || !isSame(*last, *next))
        kept.AddMember((*last)->name, (*last)->value, m_Allocator);
    object = kept;
  }

  rapidjson::Document::AllocatorType& m_Allocator;
  std::vector<std::pair<Value*, int>> m_Waiting;  ///< with how deeply they are nested
  std::vector<Value::Member*> m_Members;
};

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

rapidjson::Document parsed(const std::vector<unsigned char>& text) {
  constexpr unsigned Flags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag;
  constexpr std::string_view ByteOrderMark = "\xef\xbb\xbf";
  std::string_view whole(reinterpret_cast<const char*>(text.data()), text.size());
  if (whole.substr(0, ByteOrderMark.size()) == ByteOrderMark) whole.remove_prefix(ByteOrderMark.size());
  rapidjson::MemoryStream stream(whole.data(), whole.size());
  rapidjson::Document document;
  // Nearly every file's is, and what is needs no look at each of its characters.
  isAscii(whole) ? document.ParseStream<Flags>(stream)
                 : document.ParseStream<Flags | rapidjson::kParseValidateEncodingFlag>(stream);
  if (document.HasParseError()) throw refusal(whole, document.GetErrorOffset());
  if (stream.Tell() < whole.size()) throw refusal(whole, stream.Tell());  // it takes a zero byte for the end
  Tidying(document).tidy(document);
  return document;
}

}  // namespace nubo::reader
