#include "plugins/readers/points/pcdreader.h"

#include <lzf.h>

#include <cmath>
#include <filesystem>
#include <sstream>

#include "plugins/readers/points/textreader.h"

namespace nubo::reader {
namespace {

struct Field {
  Meaning meaning = Meaning::Nothing;
  char type = 'F';  ///< F, I or U: floating, whole with a sign, whole without
  std::size_t size = 4, count = 1;
  std::size_t offset = 0;  ///< within a point

  bool isUsable() const { return (type == 'F' ? size == 4 : size == 1 || size == 2 || size == 4) || size == 8; }
};

struct Header {
  std::vector<Field> fields;
  std::uint64_t points = 0;
  std::string coding;
  std::size_t pointSize = 0;

  std::size_t columns() const {
    std::size_t sum = 0;
    for (const Field& field : fields) sum += field.count;
    return sum;
  }
};

template <class T>
double valueAt(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return double(value);
}

double valueOf(const Field& field, const char* bytes) {
  // A packed colour is its bits, whatever it calls itself.
  const char type = field.meaning == Meaning::Packed && field.size == 4 ? 'U' : field.type;
  if (type == 'F') return field.size == 4 ? valueAt<float>(bytes) : valueAt<double>(bytes);
  const bool isSigned = type == 'I';
  if (field.size == 1) return isSigned ? valueAt<std::int8_t>(bytes) : valueAt<std::uint8_t>(bytes);
  if (field.size == 2) return isSigned ? valueAt<std::int16_t>(bytes) : valueAt<std::uint16_t>(bytes);
  if (field.size == 4) return isSigned ? valueAt<std::int32_t>(bytes) : valueAt<std::uint32_t>(bytes);
  return isSigned ? valueAt<std::int64_t>(bytes) : valueAt<std::uint64_t>(bytes);
}

/// Gives each field its word of a line of the header.
template <class T, class Member>
void setAll(std::istringstream& words, std::vector<Field>& fields, Member member) {
  T value{};
  for (std::size_t i = 0; i < fields.size() && words >> value; ++i) fields[i].*member = value;
}

void takeLine(const std::string& line, Header& header) {
  std::istringstream words(line);
  words.imbue(std::locale::classic());
  std::string key, name;
  words >> key;
  if (key == "FIELDS") {
    for (; words >> name; header.fields.back().meaning = meaningOf(name)) header.fields.emplace_back();
  } else if (key == "SIZE") {
    setAll<std::size_t>(words, header.fields, &Field::size);
  } else if (key == "TYPE") {
    setAll<char>(words, header.fields, &Field::type);
  } else if (key == "COUNT") {
    setAll<std::size_t>(words, header.fields, &Field::count);
  } else if (key == "POINTS") {
    words >> header.points;
  } else if (key == "DATA") {
    words >> header.coding;
  }
}

/// A field of several values, such as a histogram, means nothing here.
void completeFields(Header& header) {
  constexpr std::size_t Most = 1 << 16;
  Layout layout;
  for (Field& field : header.fields) {
    if (!field.isUsable() || field.count > Most) throw Refusal("its content is not understood");
    if (field.count != 1) field.meaning = Meaning::Nothing;
    field.offset = header.pointSize;
    header.pointSize += field.size * field.count;
    layout.columns.push_back(field.meaning);
  }
  if (!layout.isComplete() || header.fields.size() > Most) throw Refusal("its content is not understood");
}

Header readHeader(std::ifstream& file) {
  constexpr int MostLines = 100;
  Header header;
  std::string line;
  for (int i = 0; i < MostLines && header.coding.empty() && std::getline(file, line); ++i) takeLine(line, header);
  completeFields(header);
  return header;
}

Layout layoutOf(const Header& header) {
  Layout layout;
  for (const Field& field : header.fields) {
    layout.columns.insert(layout.columns.end(), field.count, Meaning::Nothing);
    if (field.count > 0) layout.columns.back() = field.meaning;
    if (field.meaning == Meaning::Packed) layout.packedAsFloat = header.coding == "ascii" && field.type == 'F';
  }
  return layout;
}

/// The values of a point's fields that lie at `step` bytes per point from where each field begins.
class Points {
 public:
  /// Point after point, or field after field.
  Points(const Header& header, const char* bytes, std::size_t count, bool fieldAfterField) : m_Header(header) {
    for (const Field& field : header.fields) {
      m_Begins.push_back(bytes + field.offset * (fieldAfterField ? count : 1));
      m_Steps.push_back(fieldAfterField ? field.size * field.count : header.pointSize);
    }
  }
  void read(std::size_t point, std::vector<double>& values) const {
    std::size_t column = 0;
    for (std::size_t f = 0; f < m_Begins.size(); ++f) {
      const Field& field = m_Header.fields[f];
      if (field.meaning != Meaning::Nothing) values[column] = valueOf(field, m_Begins[f] + point * m_Steps[f]);
      column += field.count;
    }
  }

 private:
  const Header& m_Header;
  std::vector<const char*> m_Begins;
  std::vector<std::size_t> m_Steps;
};

/// Some points of many.
Rows sampleOf(const Points& points, std::size_t count, std::size_t columns) {
  constexpr std::size_t Enough = 1000;
  Rows rows(std::min(count, Enough), std::vector<double>(columns, NAN));
  for (std::size_t i = 0; i < rows.size(); ++i) points.read(count / rows.size() * i, rows[i]);
  return rows;
}

void appendAll(const Points& points, std::size_t count, const Layout& layout, PointCloud& cloud) {
  Stretch stretch(layout);
  std::vector<double> values(layout.columns.size(), NAN);
  for (std::size_t i = 0; i < count; ++i) {
    points.read(i, values);
    stretch.add(values.data());
  }
  cloud.append(stretch);
}

std::string take(std::ifstream& file, std::size_t size) {
  std::string bytes(size, '\0');
  file.read(bytes.data(), std::streamsize(size));
  if (std::size_t(file.gcount()) != size) throw Refusal("the file is damaged: it has fewer bytes than its parts need");
  return bytes;
}

void readBinary(std::ifstream& file, const Header& header, Layout& layout, Output& output) {
  constexpr std::size_t AtOnce = 1 << 18;
  PointCloud cloud(layout, std::size_t(header.points), output);
  for (std::uint64_t first = 0; first < header.points; first += AtOnce) {
    const auto count = std::size_t(std::min<std::uint64_t>(AtOnce, header.points - first));
    const std::string bytes = take(file, count * header.pointSize);
    const Points points(header, bytes.data(), count, false);
    if (first == 0) fitToRows(layout, sampleOf(points, count, layout.columns.size()));
    appendAll(points, count, layout, cloud);
    output.progress(double(first) / double(header.points));
  }
  cloud.finish(header.points);
}

std::string unpack(std::ifstream& file, std::size_t expected) {
  std::uint32_t sizes[2];  // packed, unpacked
  const std::string words = take(file, sizeof sizes);
  std::memcpy(sizes, words.data(), sizeof sizes);
  if (sizes[1] != expected) throw Refusal("the file is damaged: it has fewer bytes than its parts need");
  const std::string packed = take(file, sizes[0]);
  std::string unpacked(expected, '\0');
  if (lzf_decompress(packed.data(), unsigned(packed.size()), unpacked.data(), unsigned(expected)) != expected)
    throw Refusal("its content is not understood");
  return unpacked;
}

void readPacked(std::ifstream& file, const Header& header, Layout& layout, Output& output) {
  const auto count = std::size_t(header.points);
  const std::string bytes = unpack(file, count * header.pointSize);
  output.progress(-1);
  const Points points(header, bytes.data(), count, true);
  fitToRows(layout, sampleOf(points, count, layout.columns.size()));
  PointCloud cloud(layout, count, output);
  appendAll(points, count, layout, cloud);
  cloud.finish(header.points);
}

/// More points than the rest of a file has room for would take memory for nothing.
void checkSize(const Header& header, std::uint64_t bytes) {
  constexpr std::uint64_t BestPacking = 128, ShortestText = 2;
  const std::uint64_t room = header.coding == "binary"  ? bytes / header.pointSize
                             : header.coding == "ascii" ? bytes / (header.columns() * ShortestText) + 1
                                                        : bytes * BestPacking / header.pointSize;
  if (header.points > room)
    throw Refusal("the file is truncated: it announces %1 points, but has room for %2",
                  {std::to_string(header.points), std::to_string(room)});
}

}  // namespace

void readPcd(const std::string& name, Output& output) {
  std::ifstream file = openFile(name);
  const Header header = readHeader(file);
  checkSize(header, std::filesystem::file_size(name) - std::uint64_t(std::max<std::streamoff>(0, file.tellg())));
  if (header.points == 0) throw Refusal("it holds no geometry");
  Layout layout = layoutOf(header);
  if (header.coding == "binary") return readBinary(file, header, layout, output);
  if (header.coding == "binary_compressed") return readPacked(file, header, layout, output);
  if (header.coding != "ascii") throw Refusal("its content is not understood");
  readTable(file, layout, std::size_t(header.points), output);
}

}  // namespace nubo::reader
