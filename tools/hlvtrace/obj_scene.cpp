#include "obj_scene.h"

#include "input_error.h"

#include <tiny_obj_loader.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace hlvtrace {

namespace {

std::string firstLine(std::string const& text)
{
    std::string line = text.substr(0, text.find('\n'));
    return line.empty() ? "malformed OBJ" : line;
}

std::vector<std::string> lines(std::string const& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (!line.empty())
            out.push_back(line);
    return out;
}

// The file must open as a regular file before the reader sees it, so that the message says why it doesn't.
void checkReadable(std::string const& path)
{
    std::ifstream probe(path);
    if (!probe)
        throw InputError(path, std::string("cannot be opened (") + std::strerror(errno) + ")");
    char c;
    if (!probe.get(c) && !probe.eof())
        throw InputError(path, "cannot be read (is it a directory?)");
}

void copyVertices(std::string const& path, tinyobj::attrib_t const& attrib, Scene& scene)
{
    for (std::size_t i = 0; i + 2 < attrib.vertices.size(); i += 3) {
        Vec3 v{attrib.vertices[i], attrib.vertices[i + 1], attrib.vertices[i + 2]};
        if (!isFinite(v))
            throw InputError(path, "vertex " + std::to_string(i / 3 + 1) + " has a coordinate that is not a number");
        scene.vertices.push_back(v);
    }
}

void copyMaterials(std::vector<tinyobj::material_t> const& materials, Scene& scene)
{
    for (tinyobj::material_t const& material : materials)
        scene.addMaterial(material.name, {material.diffuse[0], material.diffuse[1], material.diffuse[2]});
}

std::uint32_t cornerIndex(std::string const& path, tinyobj::index_t index, Scene const& scene)
{
    int v = index.vertex_index;
    if (v < 0)
        throw InputError(path, "a face refers to a vertex before the first one");
    if (std::size_t(v) >= scene.vertices.size())
        throw InputError(path, "a face refers to vertex " + std::to_string(v + 1) + " but the file has " +
                                   std::to_string(scene.vertices.size()));
    return std::uint32_t(v);
}

void copyTriangles(std::string const& path, tinyobj::shape_t const& shape, Scene& scene, std::uint32_t grey)
{
    std::vector<tinyobj::index_t> const& indices = shape.mesh.indices;
    std::size_t offset = 0;
    for (std::size_t face = 0; face < shape.mesh.num_face_vertices.size(); ++face) {
        std::size_t corners = shape.mesh.num_face_vertices[face];
        if (corners != 3 || offset + 3 > indices.size())
            throw InputError(path, "a face has " + std::to_string(corners) + " corners");
        std::uint32_t a = cornerIndex(path, indices[offset], scene);
        std::uint32_t b = cornerIndex(path, indices[offset + 1], scene);
        std::uint32_t c = cornerIndex(path, indices[offset + 2], scene);
        offset += corners;
        int material = face < shape.mesh.material_ids.size() ? shape.mesh.material_ids[face] : -1;
        bool known = material >= 0 && std::uint32_t(material) < grey;
        scene.addTriangle(a, b, c, known ? std::uint32_t(material) : grey);
    }
}

}  // namespace

Scene loadObjScene(std::string const& path, std::vector<std::string>& warnings)
{
    checkReadable(path);
    tinyobj::ObjReaderConfig config;
    config.triangulate = true;
    config.vertex_color = false;
    tinyobj::ObjReader reader;
    bool parsed = reader.ParseFromFile(path, config);
    for (std::string const& line : lines(reader.Warning()))
        warnings.push_back(path + ": " + line);
    if (!parsed || !reader.Error().empty())
        throw InputError(path, firstLine(reader.Error()));

    Scene scene;
    scene.name = path;
    copyVertices(path, reader.GetAttrib(), scene);
    copyMaterials(reader.GetMaterials(), scene);
    std::uint32_t grey = scene.addMaterial("(none)", defaultGrey);
    for (tinyobj::shape_t const& shape : reader.GetShapes())
        copyTriangles(path, shape, scene, grey);
    if (scene.triangles.empty())
        throw InputError(path, "holds no triangle");
    return scene;
}

}  // namespace hlvtrace
