// What the model files of a 3MF package hold.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "engine/modules/core/polygon_mesh.h"

namespace morvex {

// An object in a place: of the build, or a component of another object.
struct ThreeMfPlace {
    std::string file, object;  // the file is empty for the one in which it stands
    gp_GTrsf map;
};

struct ThreeMfObject {
    std::string name;
    PolygonMesh mesh;
    std::optional<VertexColour> colour;  // of triangles that have none of their own
    std::vector<ThreeMfPlace> components;
};

struct ThreeMfModel {
    double unit = 1;            // in millimetres
    std::string unknownDemand;  // an extension that it demands and nothing here reads
    bool hasBeams = false;
    std::int64_t triangles = 0;
    std::map<std::string, ThreeMfObject> objects;  // by their numbers
    std::vector<ThreeMfPlace> build;
};

// Throws ReadError where the text makes no sense.
ThreeMfModel ParseThreeMf(std::string_view text);

}  // namespace morvex
