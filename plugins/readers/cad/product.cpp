#include "plugins/readers/cad/product.h"

#include <Quantity_ColorRGBA.hxx>
#include <TCollection_AsciiString.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>

#include "plugins/readers/cad/progress.h"

namespace nubo::reader {
namespace {

std::string nameOf(const TDF_Label& label) {
  Handle(TDataStd_Name) name;
  if (!label.FindAttribute(TDataStd_Name::GetID(), name)) return {};
  return TCollection_AsciiString(name->Get(), 0).ToCString();
}

std::array<double, 16> matrixOf(const TopLoc_Location& place) {
  const gp_Trsf transformation = place.Transformation();
  std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  std::size_t at = 0;
  for (int column = 1; column <= 4; ++column, ++at)
    for (int row = 1; row <= 3; ++row, ++at)
      matrix[at] = transformation.Value(row, column) * (column == 4 ? MetresPerUnit : 1);
  return matrix;
}

}  // namespace

ProductConverter::ProductConverter(const Handle(TDocStd_Document) & document, double fineness, Output& output)
    : m_Shapes(XCAFDoc_DocumentTool::ShapeTool(document->Main())),
      m_Colors(XCAFDoc_DocumentTool::ColorTool(document->Main())),
      m_Output(output),
      m_Parts(Fineness(fineness), output) {}

void ProductConverter::convert() {
  TDF_LabelSequence all, roots;
  m_Shapes->GetShapes(all);
  for (const TDF_Label& label : all) m_Count += XCAFDoc_ShapeTool::IsSimpleShape(label) ? 1 : 0;
  m_Shapes->GetFreeShapes(roots);
  for (const TDF_Label& root : roots) add(root, None, {});
  if (m_Parts.missing() > 0)
    m_Output.warning(
        text("%1 surfaces could not be approximated, and are left out", {std::to_string(m_Parts.missing())}));
}

void ProductConverter::add(const TDF_Label& label, std::int32_t parent, const std::optional<Color>& color) {
  TDF_Label product = label;
  if (XCAFDoc_ShapeTool::IsReference(label)) XCAFDoc_ShapeTool::GetReferredShape(label, product);
  std::optional<Color> own = colorOf(product);
  if (const std::optional<Color> ofUse = colorOf(label)) own = ofUse;
  if (!own) own = color;
  Node node;
  node.name = nameOf(product);
  if (node.name.empty()) node.name = nameOf(label);
  node.parent = parent;
  if (product != label) node.transform = matrixOf(XCAFDoc_ShapeTool::GetLocation(label));
  const bool isAssembly = XCAFDoc_ShapeTool::IsAssembly(product);
  if (!isAssembly)
    for (const std::int32_t mesh : meshesOf(product, own)) node.instances.push_back({mesh, None});
  const auto number = std::int32_t(m_Output.model.nodes.size());
  m_Output.model.nodes.push_back(std::move(node));
  if (!isAssembly) return;
  TDF_LabelSequence components;
  XCAFDoc_ShapeTool::GetComponents(product, components);
  for (const TDF_Label& component : components) add(component, number, own);
}

const std::vector<std::int32_t>& ProductConverter::meshesOf(const TDF_Label& label, const std::optional<Color>& color) {
  TCollection_AsciiString entry;
  TDF_Tool::Entry(label, entry);
  const auto [found, isNew] = m_Meshes.try_emplace({entry.ToCString(), color});
  if (!isNew) return found->second;
  const auto progressAt = [this](std::size_t parts) {
    return ShareOfReading + (1 - ShareOfReading) * std::min(1.0, double(parts) / std::max(1.0, m_Count));
  };
  const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
  if (shape.IsNull()) return found->second;
  found->second =
      m_Parts.convert(shape, colorsWithin(label), color, progressAt(m_Meshes.size() - 1), progressAt(m_Meshes.size()));
  return found->second;
}

std::optional<Color> ProductConverter::colorOf(const TDF_Label& label) const {
  Quantity_ColorRGBA found;
  if (!m_Colors->GetColor(label, XCAFDoc_ColorSurf, found) && !m_Colors->GetColor(label, XCAFDoc_ColorGen, found) &&
      !m_Colors->GetColor(label, XCAFDoc_ColorCurv, found))
    return {};
  double red = 0, green = 0, blue = 0;
  found.GetRGB().Values(red, green, blue, Quantity_TOC_sRGB);
  return Color{float(red), float(green), float(blue), found.Alpha()};
}

Colors ProductConverter::colorsWithin(const TDF_Label& part) const {
  TDF_LabelSequence labels;
  XCAFDoc_ShapeTool::GetSubShapes(part, labels);
  Colors colors;
  for (const TDF_Label& label : labels)
    if (const std::optional<Color> color = colorOf(label)) colors.Bind(XCAFDoc_ShapeTool::GetShape(label), *color);
  return colors;
}

}  // namespace nubo::reader
