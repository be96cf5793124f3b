#include "module_poster/files/writeall.h"

#include <algorithm>

#include "module_poster/files/error.h"

namespace nubo::poster {

// A disk that fills up takes a part of the data without a word, and says why when it is asked to take the rest.
void writeAll(QFileDevice& file, const QByteArray& bytes) {
  qint64 done = 0, taken = 1;
  for (; done < bytes.size() && taken > 0; done += std::max<qint64>(taken, 0))
    taken = file.write(bytes.constData() + done, bytes.size() - done);
  if (done == bytes.size() && file.flush()) return;
  file.flush();
  throw Error(file.errorString());
}

}  // namespace nubo::poster
