#include "plugins/readers/3mf/objects.h"

#include <algorithm>

namespace nubo::reader {
namespace {

using namespace NMR;

float metresPer(DWORD unit) {
  static constexpr float Metres[]{1e-6f, 1e-3f, 1e-2f, 0.0254f, 0.3048f, 1};
  return Metres[std::min<std::size_t>(unit, std::size(Metres) - 1)];
}

constexpr MODELTRANSFORM Identity{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}};

std::string nameOf(PLib3MFBase* object) {
  ULONG size = 0;
  if (lib3mf_object_getnameutf8(object, nullptr, 0, &size) != 0 || size == 0) return {};
  std::string name(size + 1, '\0');
  if (lib3mf_object_getnameutf8(object, name.data(), ULONG(name.size()), &size) != 0) return {};
  return name.substr(0, name.find('\0'));
}

std::vector<MODELMESHTRIANGLE> trianglesOf(PLib3MFBase* object, std::size_t vertices) {
  std::vector<MODELMESHTRIANGLE> triangles(valueOf<DWORD>(lib3mf_meshobject_gettrianglecount, object));
  if (!triangles.empty())
    check(lib3mf_meshobject_gettriangleindices(object, triangles.data(), DWORD(triangles.size()), nullptr));
  for (const MODELMESHTRIANGLE& triangle : triangles)
    for (const DWORD index : triangle.m_nIndices)
      if (index >= vertices) throw Refusal("the file is damaged: it names what it does not have");
  return triangles;
}

Wrap wrapOf(eModelTextureTileStyle style) {
  if (style == MODELTEXTURETILESTYLE_MIRROR) return Wrap::Mirror;
  return style == MODELTEXTURETILESTYLE_WRAP ? Wrap::Repeat : Wrap::Clamp;
}

}  // namespace

ObjectConverter::ObjectConverter(PLib3MFBase* model, Output& output)
    : m_Model(model), m_Output(output), m_MetresPerUnit(metresPer(valueOf<DWORD>(lib3mf_model_getunit, model))) {}

void ObjectConverter::convert() {
  const Handle items = take(lib3mf_model_getbuilditems, m_Model);
  while (valueOf<BOOL>(lib3mf_builditemiterator_movenext, items.get())) {
    const Handle item = take(lib3mf_builditemiterator_getcurrent, items.get());
    const Handle object = take(lib3mf_builditem_getobjectresource, item.get());
    MODELTRANSFORM place = Identity;
    if (valueOf<BOOL>(lib3mf_builditem_hasobjecttransform, item.get()))
      check(lib3mf_builditem_getobjecttransform(item.get(), &place));
    add(object.get(), None, place, 0);
  }
}

void ObjectConverter::add(PLib3MFBase* object, std::int32_t parent, const MODELTRANSFORM& place, int depth) {
  // Objects that are put together of others, again and again, can be more than anybody could draw.
  constexpr int Deepest = 100;
  constexpr std::size_t Most = 1000000;
  if (depth > Deepest || m_Output.model.nodes.size() >= Most) throw Refusal("its nodes are nested too deeply");
  Node node;
  node.name = nameOf(object);
  node.parent = parent;
  for (std::size_t column = 0; column < 4; ++column)
    for (std::size_t row = 0; row < 3; ++row)
      node.transform[column * 4 + row] = double(place.m_fFields[row][column] * (column == 3 ? m_MetresPerUnit : 1));
  const bool isMesh = valueOf<BOOL>(lib3mf_object_ismeshobject, object);
  if (isMesh)
    for (const std::int32_t mesh : meshesOf(object, valueOf<DWORD>(lib3mf_resource_getresourceid, object)))
      node.instances.push_back({mesh, None});
  const auto number = std::int32_t(m_Output.model.nodes.size());
  m_Output.model.nodes.push_back(std::move(node));
  m_Output.progress(-1);
  if (isMesh) return;
  const auto count = valueOf<DWORD>(lib3mf_componentsobject_getcomponentcount, object);
  for (DWORD i = 0; i < count; ++i) {
    const Handle component = take(lib3mf_componentsobject_getcomponent, object, i);
    const Handle part = take(lib3mf_component_getobjectresource, component.get());
    MODELTRANSFORM inside = Identity;
    if (valueOf<BOOL>(lib3mf_component_hastransform, component.get()))
      check(lib3mf_component_gettransform(component.get(), &inside));
    add(part.get(), number, inside, depth + 1);
  }
}

/// One mesh for each material, between the same vertices, and others for triangles whose corners have colours or places
/// in a texture of their own.
const std::vector<std::int32_t>& ObjectConverter::meshesOf(PLib3MFBase* object, DWORD id) {
  const auto [found, isNew] = m_Meshes.try_emplace(id);
  if (!isNew) return found->second;
  const Array<float> positions = positionsOf(object);
  const Triangles triangles = trianglesOf(object, positions.size() / 3);
  const std::vector<Paint> paints = paintsOf(object, triangles.size());
  std::map<std::int32_t, std::vector<std::uint32_t>> indices;
  std::map<std::int32_t, std::vector<std::size_t>> ofCorners;
  for (std::size_t t = 0; t < triangles.size(); ++t) {
    if (paints[t].isOfCorners()) {
      ofCorners[paints[t].material].push_back(t);
      continue;
    }
    std::vector<std::uint32_t>& group = indices[paints[t].material];
    group.insert(group.end(), std::begin(triangles[t].m_nIndices), std::end(triangles[t].m_nIndices));
  }
  const auto append = [&, &meshes = found->second](Mesh mesh) {
    meshes.push_back(std::int32_t(m_Output.model.meshes.size()));
    m_Output.model.meshes.push_back(std::move(mesh));
  };
  for (const auto& [material, group] : indices) {
    Mesh mesh;
    mesh.positions = positions;
    mesh.indices = m_Output.array(group);
    mesh.material = material;
    append(std::move(mesh));
  }
  for (const auto& [material, chosen] : ofCorners) {
    Mesh mesh = cornersMesh(positions, triangles, paints, chosen);
    mesh.material = material;
    append(std::move(mesh));
  }
  return found->second;
}

Array<float> ObjectConverter::positionsOf(PLib3MFBase* object) {
  const auto count = valueOf<DWORD>(lib3mf_meshobject_getvertexcount, object);
  const Array<float> positions = m_Output.array<float>(std::size_t(count) * 3);
  static_assert(sizeof(MODELMESHVERTEX) == 3 * sizeof(float));
  if (count > 0)
    check(lib3mf_meshobject_getvertices(object, reinterpret_cast<MODELMESHVERTEX*>(positions.data()), count, nullptr));
  for (float& value : positions) value *= m_MetresPerUnit;
  return positions;
}

std::vector<ObjectConverter::Paint> ObjectConverter::paintsOf(PLib3MFBase* object, std::size_t triangles) {
  std::vector<Paint> paints(triangles);
  const Handle properties = take(lib3mf_meshobject_createpropertyhandler, object);
  for (std::size_t t = 0; t < triangles; ++t) {
    paint(properties.get(), DWORD(t), paints[t]);
    constexpr std::size_t Often = 100000;
    if (t % Often == 0) m_Output.progress(-1);
  }
  return paints;
}

/// Where a triangle has no property of its own, the library tells its object's.
void ObjectConverter::paint(PLib3MFBase* properties, DWORD triangle, Paint& paint) {
  switch (valueOf<eModelPropertyType>(lib3mf_propertyhandler_getpropertytype, properties, triangle)) {
    case MODELPROPERTYTYPE_COLOR:
      paint = {};
      check(lib3mf_propertyhandler_getcolor(properties, triangle, &paint.colors.emplace()));
      break;
    case MODELPROPERTYTYPE_BASEMATERIALS: {
      DWORD group = 0, index = 0;
      check(lib3mf_propertyhandler_getbasematerial(properties, triangle, &group, &index));
      paint = {materialOf(group, index), {}, {}};
      break;
    }
    case MODELPROPERTYTYPE_TEXCOORD2D:
      paint = {};
      check(lib3mf_propertyhandler_gettexture(properties, triangle, &paint.place.emplace()));
      paint.material = texturedMaterial(paint.place->m_nTextureID);
      break;
    default:
      break;
  }
}

/// Of the chosen triangles, which share no vertices then. All of them have colours, or all have places in a texture.
Mesh ObjectConverter::cornersMesh(const Array<float>& positions, const Triangles& triangles,
                                  const std::vector<Paint>& paints, const std::vector<std::size_t>& chosen) {
  const bool isTextured = bool(paints[chosen.front()].place);
  Mesh mesh;
  mesh.positions = m_Output.array<float>(chosen.size() * 9);
  mesh.indices = m_Output.array<std::uint32_t>(chosen.size() * 3);
  if (isTextured)
    mesh.texCoords = m_Output.array<float>(chosen.size() * 6);
  else
    mesh.colors = m_Output.array<std::uint8_t>(chosen.size() * 12);
  std::size_t corner = 0;
  for (const std::size_t t : chosen)
    for (std::size_t k = 0; k < 3; ++k, ++corner) {
      std::copy_n(positions.begin() + std::size_t(triangles[t].m_nIndices[k]) * 3, 3,
                  mesh.positions.begin() + corner * 3);
      mesh.indices[corner] = std::uint32_t(corner);
      if (isTextured) {
        mesh.texCoords[corner * 2] = paints[t].place->m_fU[k];
        mesh.texCoords[corner * 2 + 1] = paints[t].place->m_fV[k];
        continue;
      }
      const MODELMESHCOLOR_SRGB& color = paints[t].colors->m_Colors[k];
      const std::uint8_t bytes[]{color.m_Red, color.m_Green, color.m_Blue, color.m_Alpha};
      std::copy_n(bytes, 4, mesh.colors.begin() + corner * 4);
    }
  return mesh;
}

std::int32_t ObjectConverter::texturedMaterial(DWORD number) {
  const auto [found, isNew] = m_Textured.try_emplace(number, None);
  if (!isNew) return found->second;
  const Handle source = take(lib3mf_model_gettexture2dbyid, m_Model, number);
  const Handle attachment = take(lib3mf_texture2d_getattachment, source.get());
  eModelTextureTileStyle across{}, up{};
  check(lib3mf_texture2d_gettilestyleuv(source.get(), &across, &up));
  reader::Model& model = m_Output.model;
  Image image;
  const auto size = valueOf<ULONG64>(lib3mf_attachment_getstreamsize, attachment.get());
  image.encoded = m_Output.array<std::uint8_t>(std::size_t(size));
  if (size > 0) check(lib3mf_attachment_writetobuffer(attachment.get(), image.encoded.data(), size));
  const Texture texture{
      std::int32_t(model.images.size()), wrapOf(across), wrapOf(up),
      valueOf<eModelTextureFilter>(lib3mf_texture2d_getfilter, source.get()) != MODELTEXTUREFILTER_NEAREST};
  Material material;
  material.diffuse = {1, 1, 1, 1};
  material.texture.texture = std::int32_t(model.textures.size());
  found->second = std::int32_t(model.materials.size());
  model.images.push_back(image);
  model.textures.push_back(texture);
  model.materials.push_back(material);
  return found->second;
}

std::int32_t ObjectConverter::materialOf(DWORD group, DWORD index) {
  const auto [found, isNew] = m_Materials.try_emplace({group, index}, None);
  if (!isNew) return found->second;
  const Handle materials = take(lib3mf_model_getbasematerialbyid, m_Model, group);
  BYTE color[4]{};
  check(lib3mf_basematerial_getdisplaycolor(materials.get(), index, &color[0], &color[1], &color[2], &color[3]));
  Material material;
  for (std::size_t i = 0; i < 4; ++i) material.diffuse[i] = float(color[i]) / 255;
  found->second = std::int32_t(m_Output.model.materials.size());
  m_Output.model.materials.push_back(material);
  return found->second;
}

}  // namespace nubo::reader
