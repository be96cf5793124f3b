// Values along an axis.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace nubo::gui {

/// A value for each of the slabs of one thickness that lie side by side along an axis, from the first to the last that
/// were asked for. One of them begins at 0.
template <class Value>
class Slabs {
 public:
  /// `empty` is the value of a slab before it gets another.
  Slabs(double thickness, const Value& empty) : m_Thickness(thickness), m_Empty(empty) {}

  double thickness() const { return m_Thickness; }
  std::size_t size() const { return m_Values.size(); }
  const Value& operator[](std::size_t slab) const { return m_Values[slab]; }
  /// Where that one begins.
  double begin(std::size_t slab) const { return double(m_First + long(slab)) * m_Thickness; }

  bool operator==(const Slabs& o) const {
    return m_Thickness == o.m_Thickness && m_First == o.m_First && m_Values == o.m_Values;
  }

  /// Of the slab in which `place` is.
  Value& at(double place) {
    const long wanted = numberOf(place);
    if (m_Values.empty()) m_First = wanted;
    if (wanted < m_First) {
      m_Values.insert(m_Values.begin(), std::size_t(m_First - wanted), m_Empty);
      m_First = wanted;
    }
    const auto index = std::size_t(wanted - m_First);
    if (index >= m_Values.size()) m_Values.resize(index + 1, m_Empty);
    return m_Values[index];
  }

  /// Whether `holds` is true of the value of each slab from that of `low` to that of `high`, and all of these are
  /// there.
  template <class Holds>
  bool all(double low, double high, Holds holds) const {
    const long first = numberOf(low) - m_First, last = numberOf(high) - m_First;
    return first >= 0 && last < long(m_Values.size()) &&
           std::all_of(m_Values.begin() + first, m_Values.begin() + last + 1, holds);
  }

 private:
  // What is farther away cannot be shown beside the rest anyway.
  static constexpr double Farthest = 64 * 512;

  long numberOf(double place) const { return long(std::clamp(std::floor(place / m_Thickness), -Farthest, Farthest)); }

  double m_Thickness;
  Value m_Empty;
  long m_First = 0;  ///< number of the first; that of the one that begins at 0 is 0
  std::vector<Value> m_Values;
};

}  // namespace nubo::gui
