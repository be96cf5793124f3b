// The rival's work for CAD files: Open CASCADE reads a STEP file with names and colours, and makes triangles of all its
// shapes, as finely as our reader does when nothing is said. Prints their number.
#include <BRepBndLib.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRep_Tool.hxx>
#include <Bnd_Box.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <cmath>
#include <cstdio>

namespace {

constexpr double Angle = 0.3, ShareOfSize = 0.001;

int meshed(const TopoDS_Shape& shape) {
  Bnd_Box box;
  BRepBndLib::Add(shape, box, false);
  IMeshTools_Parameters parameters;
  parameters.Deflection = std::sqrt(box.SquareExtent()) * ShareOfSize;
  parameters.Angle = Angle;
  parameters.InParallel = true;
  const BRepMesh_IncrementalMesh mesh(shape, parameters);
  int triangles = 0;
  for (TopExp_Explorer face(shape, TopAbs_FACE); face.More(); face.Next()) {
    TopLoc_Location place;
    const Handle(Poly_Triangulation) part = BRep_Tool::Triangulation(TopoDS::Face(face.Current()), place);
    if (!part.IsNull()) triangles += part->NbTriangles();
  }
  return triangles;
}

}  // namespace

int main(int argc, char** argv) {
  for (const Handle(Message_Printer) & printer : Message_SequenceOfPrinters(Message::DefaultMessenger()->Printers()))
    Message::DefaultMessenger()->RemovePrinter(printer);
  Handle(TDocStd_Document) document = new TDocStd_Document("XCAF");
  STEPCAFControl_Reader reader;
  if (argc != 2 || reader.ReadFile(argv[1]) != IFSelect_RetDone || !reader.Transfer(document)) return 1;
  TDF_LabelSequence labels;
  XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetShapes(labels);
  int triangles = 0;
  for (const TDF_Label& label : labels)
    if (XCAFDoc_ShapeTool::IsSimpleShape(label)) triangles += meshed(XCAFDoc_ShapeTool::GetShape(label));
  std::printf("%d\n", triangles);
  return 0;
}
