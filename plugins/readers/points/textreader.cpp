#include "plugins/readers/points/textreader.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <future>
#include <map>
#include <thread>

namespace nubo::reader {
namespace {

constexpr std::size_t ShortestPoint = 6;  // bytes: three digits, each with what ends it

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLineEnd(char c) { return c == '\n' || c == '\r'; }
bool isSeparator(char c) { return c == ',' || c == ';'; }

/// Reads the columns of a line of text.
class Columns {
 public:
  Columns(const char* begin, const char* end) : mp_At(begin), mp_End(end) { skipBlanks(); }

  bool atEnd() const { return mp_At == mp_End; }
  /// What is no number is none. The locale does not matter.
  double takeNumber() {
    double value = NAN;
    const char* digits = mp_At != mp_End && *mp_At == '+' ? mp_At + 1 : mp_At;
    const auto [end, error] = std::from_chars(digits, mp_End, value);
    const bool isWhole = end == mp_End || isBlank(*end) || isSeparator(*end);
    mp_At = isWhole ? end : endOfWord();
    leave();
    return error == std::errc() && isWhole ? value : NAN;
  }
  std::string takeWord() {
    const char* end = endOfWord();
    std::string word(mp_At, end);
    mp_At = end;
    leave();
    word.erase(std::remove(word.begin(), word.end(), '"'), word.end());
    return word;
  }

 private:
  const char* endOfWord() const {
    return std::find_if(mp_At, mp_End, [](char c) { return isBlank(c) || isSeparator(c); });
  }
  void skipBlanks() {
    while (mp_At != mp_End && isBlank(*mp_At)) ++mp_At;
  }
  void leave() {
    skipBlanks();
    if (mp_At == mp_End || !isSeparator(*mp_At)) return;
    ++mp_At;
    skipBlanks();
  }

  const char* mp_At;
  const char* mp_End;
};

/// Calls take(begin, end) for each line that has something to say.
template <class Take>
void forLines(const std::string& text, const Take& take) {
  const char* end = text.data() + text.size();
  for (const char* begin = text.data(); begin != end;) {
    const char* lineEnd = std::find_if(begin, end, isLineEnd);
    const char* first = std::find_if_not(begin, lineEnd, isBlank);
    if (first != lineEnd && std::strchr("#/!%", *first) == nullptr) take(first, lineEnd);
    begin = std::find_if_not(lineEnd, end, isLineEnd);
  }
}

std::vector<double> numbersOf(const char* begin, const char* end) {
  std::vector<double> numbers;
  for (Columns columns(begin, end); !columns.atEnd();) numbers.push_back(columns.takeNumber());
  return numbers;
}

bool isCount(const std::vector<double>& numbers) {
  constexpr double Most = 1e15;
  return numbers.size() == 1 && numbers[0] >= 0 && numbers[0] < Most && std::floor(numbers[0]) == numbers[0];
}

/// Whole lines from places spread over a file.
std::string sampleOf(std::ifstream& file) {
  constexpr std::size_t Places = 64, Each = 4096;
  const std::streamoff begin = file.tellg();
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg() - begin;
  file.seekg(begin);
  std::string sample;
  if (size <= std::streamoff(Places * Each)) {
    sample.assign(std::istreambuf_iterator<char>(file), {});
    file.clear();
    file.seekg(begin);
    return sample;
  }
  for (std::size_t place = 0; place < Places; ++place) {
    std::string piece(Each, '\0');
    file.clear();
    file.seekg(begin + (size - std::streamoff(Each)) / std::streamoff(Places - 1) * std::streamoff(place));
    file.read(piece.data(), Each);
    piece.resize(std::size_t(file.gcount()));
    const auto first = place == 0 ? piece.begin() : std::find_if(piece.begin(), piece.end(), isLineEnd);
    const auto last = std::find_if(piece.rbegin(), piece.rend(), isLineEnd).base();
    if (first < last) sample.append(first, last);
  }
  file.clear();
  file.seekg(begin);
  return sample;
}

/// The columns that one of the first lines names, a comment perhaps; `size`: up to its end.
struct Heading {
  std::vector<Meaning> columns;
  std::size_t size = 0;
};

Heading headingOf(const std::string& sample) {
  constexpr int FirstLines = 30;
  const char *begin = sample.data(), *end = begin + sample.size();
  for (int line = 0; line < FirstLines && begin != end; ++line) {
    const char* lineEnd = std::find_if(begin, end, isLineEnd);
    const char* first =
        std::find_if_not(begin, lineEnd, [](char c) { return isBlank(c) || std::strchr("#/!%", c) != nullptr; });
    Layout layout;
    for (Columns columns(first, lineEnd); !columns.atEnd();) layout.columns.push_back(meaningOf(columns.takeWord()));
    if (layout.isComplete()) return {layout.columns, std::size_t(lineEnd - sample.data())};
    begin = std::find_if_not(lineEnd, end, isLineEnd);
  }
  return {};
}

/// What some lines of a file tell about all.
struct Findings {
  Rows rows;  ///< those of the most frequent length
  bool beginsWithCount = false;
};

Findings look(const std::string& sample) {
  Findings findings;
  Rows all;
  std::size_t lines = 0;
  forLines(sample, [&](const char* begin, const char* end) {
    std::vector<double> numbers = numbersOf(begin, end);
    if (lines == 0 && isCount(numbers)) findings.beginsWithCount = true;
    lines += isCount(numbers) ? 0 : 1;
    const auto missing = std::count_if(numbers.begin(), numbers.end(), [](double v) { return std::isnan(v); });
    if (numbers.size() >= 3 && std::size_t(missing) * 2 <= numbers.size()) all.push_back(std::move(numbers));
  });
  if (all.empty() || all.size() * 2 < lines) throw Refusal("it is no list of points");
  std::map<std::size_t, std::size_t> lengths;
  for (const std::vector<double>& row : all) ++lengths[row.size()];
  const auto usual = std::max_element(lengths.begin(), lengths.end(),
                                      [](const auto& a, const auto& b) { return a.second < b.second; });
  for (std::vector<double>& row : all)
    if (row.size() == usual->first) findings.rows.push_back(std::move(row));
  return findings;
}

/// Reads the rest of an open file, a point per line, piece by piece on all cores.
class TextReader {
 public:
  /// `decimalComma`: commas are those of numbers, and separate nothing.
  TextReader(std::ifstream& file, const Layout& layout, bool decimalComma)
      : m_File(file), m_Layout(layout), m_DecimalComma(decimalComma) {}

  void read(PointCloud& cloud, Output& output);

 private:
  std::string takePiece();
  Stretch parse(std::string piece) const;

  std::ifstream& m_File;
  const Layout& m_Layout;
  const bool m_DecimalComma;
  std::string m_Rest;  ///< of the line that the last piece ended in
};

/// Whole lines, some megabytes of them; empty at the end.
std::string TextReader::takePiece() {
  constexpr std::size_t AtOnce = 4 << 20;
  std::string piece = std::move(m_Rest);
  const std::size_t before = piece.size();
  piece.resize(before + AtOnce);
  m_File.read(piece.data() + before, AtOnce);
  piece.resize(before + std::size_t(m_File.gcount()));
  m_Rest.clear();
  if (!m_File) return piece;
  const auto end = std::find_if(piece.rbegin(), piece.rend(), isLineEnd).base();
  if (end == piece.begin()) throw Refusal("its content is not understood");
  m_Rest.assign(end, piece.end());
  piece.erase(end, piece.end());
  return piece;
}

Stretch TextReader::parse(std::string piece) const {
  if (m_DecimalComma) std::replace(piece.begin(), piece.end(), ',', '.');
  Stretch stretch(m_Layout);
  std::vector<double> values(m_Layout.columns.size());
  forLines(piece, [&](const char* begin, const char* end) {
    std::size_t count = 0;
    Columns columns(begin, end);
    for (; !columns.atEnd() && count < values.size(); ++count) values[count] = columns.takeNumber();
    if (const std::vector<double> alone(values.begin(), values.begin() + std::ptrdiff_t(count == 1)); isCount(alone)) {
      stretch.announced += std::uint64_t(alone[0]);
    } else if (count < 3) {
      ++stretch.strange;
    } else {
      std::fill(values.begin() + std::ptrdiff_t(count), values.end(), NAN);
      stretch.add(values.data());
    }
  });
  return stretch;
}

void TextReader::read(PointCloud& cloud, Output& output) {
  const std::streamoff begin = m_File.tellg();
  m_File.seekg(0, std::ios::end);
  const double size = std::max(1.0, double(m_File.tellg() - begin));
  m_File.seekg(begin);
  double done = 0;
  const std::size_t atOnce = std::max(1u, std::thread::hardware_concurrency());
  for (bool more = true; more;) {
    std::vector<std::future<Stretch>> stretches;
    while (stretches.size() < atOnce && more) {
      std::string piece = takePiece();
      done += double(piece.size());
      more = !piece.empty();
      if (more) stretches.push_back(std::async(std::launch::async, &TextReader::parse, this, std::move(piece)));
    }
    for (auto& stretch : stretches) cloud.append(stretch.get());
    output.progress(done / size);
  }
}

}  // namespace

std::ifstream openFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) throw Refusal("it cannot be opened");
  return file;
}

void readTable(std::ifstream& file, Layout& layout, std::size_t points, Output& output) {
  const Findings findings = look(sampleOf(file));
  if (findings.rows[0].size() != layout.columns.size()) throw Refusal("its content is not understood");
  fitToRows(layout, findings.rows);
  PointCloud cloud(layout, points, output);
  TextReader(file, layout, false).read(cloud, output);
  cloud.finish(points);
}

void readPointList(const std::string& name, bool intensityFirst, Output& output) {
  std::ifstream file = openFile(name);
  const auto size = std::size_t(std::filesystem::file_size(name));
  std::string sample = sampleOf(file);
  // Where semicolons separate, commas can only be those of numbers.
  const bool decimalComma = sample.find(';') != std::string::npos && sample.find(',') != std::string::npos;
  const Heading heading = headingOf(sample);
  sample.erase(0, heading.size);
  file.seekg(std::streamoff(heading.size));
  Layout layout;
  layout.columns = heading.columns;
  if (decimalComma) std::replace(sample.begin(), sample.end(), ',', '.');
  const Findings findings = look(sample);
  if (layout.columns.size() != findings.rows[0].size()) layout.columns = guessMeanings(findings.rows, intensityFirst);
  fitToRows(layout, findings.rows);
  PointCloud cloud(layout, size / ShortestPoint + 1, output);
  TextReader(file, layout, decimalComma).read(cloud, output);
  cloud.finish(findings.beginsWithCount ? cloud.announced() : 0);
}

}  // namespace nubo::reader
