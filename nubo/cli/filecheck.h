// Whether a file can be written, known before the work that it is for.
#pragma once

#include <QString>

namespace nubo::app {

/// Why a file cannot be written: "" if it can. Leaves no trace and an existing file as it is.
[[nodiscard]] QString whyNotWritable(const QString& fileName);

/// That name or, where there is such a file, the next one that is free: "part.png", "part-2.png", "part-3.png".
[[nodiscard]] QString freeName(const QString& fileName);

}  // namespace nubo::app
