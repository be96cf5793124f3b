#include "plugins/readers/cad/document.h"

#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <IGESCAFControl_Reader.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <array>
#include <fstream>

#include "plugins/readers/cad/progress.h"

namespace nubo::reader {
namespace {

/// A file's bytes, piece by piece, with a sign of life for each.
class FileBytes : public std::streambuf {
 public:
  FileBytes(const std::string& name, Output& output) : m_Output(output) {
    m_File.open(name, std::ios::in | std::ios::binary);
  }

 protected:
  int_type underflow() override {
    const std::streamsize size = m_File.sgetn(m_Piece.data(), std::streamsize(m_Piece.size()));
    m_Output.progress(-1);
    setg(m_Piece.data(), m_Piece.data(), m_Piece.data() + size);
    return size > 0 ? traits_type::to_int_type(m_Piece[0]) : traits_type::eof();
  }

 private:
  Output& m_Output;
  std::filebuf m_File;
  std::array<char, 1 << 16> m_Piece{};
};

void require(bool isRead) {
  if (!isRead) throw Refusal("its content is not understood");
}

void readStep(const std::string& file, Handle(TDocStd_Document) & document, Output& output) {
  FileBytes bytes(file, output);
  std::istream stream(&bytes);
  STEPCAFControl_Reader reader;
  require(reader.ChangeReader().ReadStream(file.c_str(), stream) == IFSelect_RetDone);
  const Handle(Progress) progress = new Progress(output, 0, ShareOfReading);
  require(reader.Transfer(document, progress->Start()));
}

void readIges(const std::string& file, Handle(TDocStd_Document) & document, Output& output) {
  IGESCAFControl_Reader reader;
  require(reader.ReadFile(file.c_str()) == IFSelect_RetDone);
  const Handle(Progress) progress = new Progress(output, 0, ShareOfReading);
  require(reader.Transfer(document, progress->Start()));
}

void readShape(const std::string& file, const Handle(TDocStd_Document) & document, Output& output) {
  FileBytes bytes(file, output);
  std::istream stream(&bytes);
  // What goes on at the end of a file would go on for ever.
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  TopoDS_Shape shape;
  try {
    BRepTools::Read(shape, stream, BRep_Builder());
  } catch (const std::ios_base::failure&) {
    require(false);
  }
  require(!shape.IsNull());
  XCAFDoc_DocumentTool::ShapeTool(document->Main())->AddShape(shape, false);
}

}  // namespace

Handle(TDocStd_Document) readDocument(const std::string& file, const std::string& format, Output& output) {
  Handle(TDocStd_Document) document = new TDocStd_Document("XCAF");
  if (format == "brep" || format == "brp")
    readShape(file, document, output);
  else if (format == "iges" || format == "igs")
    readIges(file, document, output);
  else
    readStep(file, document, output);
  return document;
}

}  // namespace nubo::reader
