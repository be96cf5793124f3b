// Tells the program how far Open CASCADE is.
#pragma once

#include <Message_ProgressIndicator.hxx>
#include <algorithm>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// Of a part of the whole. Open CASCADE calls it on any of its threads, one at a time, while the reader's waits.
class Progress : public Message_ProgressIndicator {
 public:
  Progress(Output& output, double from, double to) : m_Output(output), m_From(from), m_To(to) {}

 protected:
  void Show(const Message_ProgressScope&, const Standard_Boolean) override {
    m_Output.progress(m_From + (m_To - m_From) * std::clamp(GetPosition(), 0.0, 1.0));
  }

 private:
  Output& m_Output;
  const double m_From, m_To;
};

/// Of all that is done for a file, so much is reading; the rest is making triangles.
constexpr double ShareOfReading = 0.5;

}  // namespace nubo::reader
