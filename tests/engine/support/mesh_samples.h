// The box of the other samples in mesh formats, written by hand: each in a unit, axes and places of its own.
#pragma once

#include <filesystem>
#include <string>

namespace morvex::test {

// Red but for 3DS. Where the format allows, the points are mirrored and so is the place of the mesh.
std::string X3dBox();
std::string AmfBox();
std::string ColladaBox();
std::string PlyBox();   // as text; sides of four corners, colours of points
std::string OffBox();   // colours of sides
std::string VrmlBox();  // by a prototype, sides clockwise
// The same mesh as PlyBox in binary.
std::string BinaryPlyBox(bool bigEndian);

// As the model of a 3MF package, and packed, with another model as /3D/other.model.
std::string ThreeMfModel();
void WriteThreeMf(const std::filesystem::path& path, const std::string& model, const std::string& other = {});

// Writes them, and the box as 3MF and 3DS, as box.x3d, box.amf and so on.
void WriteMeshBoxes(const std::filesystem::path& folder);

}  // namespace morvex::test
