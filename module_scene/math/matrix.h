// Small fixed-size matrices, stored the way OpenGL wants them.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace nubo::math {

/// A matrix of Rows x Columns, column by column, so that data() goes straight to glMultMatrix. New
/// matrices are identity.
template <class T, int Rows, int Columns>
class Matrix {
 public:
  Matrix() {
    for (int i = 0; i < Rows && i < Columns; ++i) (*this)(i, i) = T(1);
  }

  T& operator()(int row, int column) { return m_Values[column * Rows + row]; }
  const T& operator()(int row, int column) const { return m_Values[column * Rows + row]; }
  T* data() { return m_Values.data(); }
  const T* data() const { return m_Values.data(); }

  template <int Others>
  Matrix<T, Rows, Others> operator*(const Matrix<T, Columns, Others>& other) const {
    Matrix<T, Rows, Others> result;
    for (int r = 0; r < Rows; ++r)
      for (int c = 0; c < Others; ++c) {
        T sum = T(0);
        for (int k = 0; k < Columns; ++k) sum += (*this)(r, k) * other(k, c);
        result(r, c) = sum;
      }
    return result;
  }
  friend bool operator==(const Matrix& a, const Matrix& b) { return a.m_Values == b.m_Values; }
  friend bool operator!=(const Matrix& a, const Matrix& b) { return !(a == b); }

 private:
  std::array<T, std::size_t(Rows) * Columns> m_Values{};
};

using Matrix4 = Matrix<double, 4, 4>;
using Vector3 = std::array<double, 3>;

inline Matrix4 translation(double x, double y, double z) {
  Matrix4 m;
  m(0, 3) = x;
  m(1, 3) = y;
  m(2, 3) = z;
  return m;
}

inline Matrix4 scaling(double x, double y, double z) {
  Matrix4 m;
  m(0, 0) = x;
  m(1, 1) = y;
  m(2, 2) = z;
  return m;
}

/// A rotation by `radians` about a unit axis, right-handed.
inline Matrix4 rotation(double radians, const Vector3& axis) {
  const double c = std::cos(radians), s = std::sin(radians), t = 1 - c;
  const auto [x, y, z] = axis;
  Matrix4 m;
  m(0, 0) = t * x * x + c, m(0, 1) = t * x * y - s * z, m(0, 2) = t * x * z + s * y;
  m(1, 0) = t * x * y + s * z, m(1, 1) = t * y * y + c, m(1, 2) = t * y * z - s * x;
  m(2, 0) = t * x * z - s * y, m(2, 1) = t * y * z + s * x, m(2, 2) = t * z * z + c;
  return m;
}

/// Applies the matrix to a point, with the perspective division left out.
inline Vector3 transformPoint(const Matrix4& m, const Vector3& p) {
  Vector3 r;
  for (int i = 0; i < 3; ++i) r[i] = m(i, 0) * p[0] + m(i, 1) * p[1] + m(i, 2) * p[2] + m(i, 3);
  return r;
}

/// Of the upper left three by three.
inline double determinant(const Matrix4& m) {
  return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) - m(0, 1) * (m(1, 0) * m(2, 2) - m(1, 2) * m(2, 0)) +
         m(0, 2) * (m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0));
}

/// Of the upper left three by three; the rest is identity. Divided by the determinant they turn normals.
inline Matrix4 cofactors(const Matrix4& m) {
  Matrix4 r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      const int a = (i + 1) % 3, b = (i + 2) % 3, c = (j + 1) % 3, d = (j + 2) % 3;
      r(i, j) = m(a, c) * m(b, d) - m(a, d) * m(b, c);
    }
  return r;
}

/// The inverse of a matrix whose last row is 0 0 0 1; identity if it has none.
inline Matrix4 affineInverse(const Matrix4& m) {
  const Matrix4 cofactor = cofactors(m);
  const double determinant = m(0, 0) * cofactor(0, 0) + m(0, 1) * cofactor(0, 1) + m(0, 2) * cofactor(0, 2);
  if (determinant == 0 || !std::isfinite(determinant)) return Matrix4();
  Matrix4 r;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) r(i, j) = cofactor(j, i) / determinant;
    r(i, 3) = -(r(i, 0) * m(0, 3) + r(i, 1) * m(1, 3) + r(i, 2) * m(2, 3));
  }
  return r;
}

}  // namespace nubo::math
