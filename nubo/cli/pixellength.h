// Sizes of pictures as lengths on paper.
#pragma once

#include <QString>
#include <optional>

namespace nubo::app {

/// A number of pixels, and how densely they stand on paper.
struct PixelLength {
  int pixels;
  double dotsPerInch;
};

/// Whether the text is more than a number, and so for readPixelLength.
bool isPixelLength(const QString& text);
/// What "180mm@300dpi" or "1920@300dpi" stands for; also "cm" and "in". Nothing, with a sentence in `refusal`, for any
/// other text.
std::optional<PixelLength> readPixelLength(const QString& text, QString& refusal);

}  // namespace nubo::app
