// Writing to a disk that may be full.
#pragma once

#include <QFileDevice>

namespace nubo::poster {

/// Throws Error with the disk's reason unless all bytes have arrived.
void writeAll(QFileDevice& file, const QByteArray& bytes);

}  // namespace nubo::poster
