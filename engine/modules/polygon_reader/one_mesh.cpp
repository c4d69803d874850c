#include "engine/modules/polygon_reader/one_mesh.h"

#include "engine/common/paths.h"

namespace morvex {

void AddOneMesh(JobContext& context, const PolygonMesh& mesh, std::int64_t polygons, std::int64_t flat) {
    context.journal.Account("polygons", polygons, 0);
    if (flat > 0)
        context.journal.Warn(std::to_string(flat) + " polygons with fewer than three corners were left out");
    const std::string name = Utf8(context.file.stem());
    Scene scene;
    scene.meshes.push_back({name, mesh.Faces(gp_GTrsf())});
    scene.nodes.push_back({name, {0}, {}});
    scene.roots.push_back({0, gp_GTrsf(), {}});
    AddScene(context.document, scene, name);
}

}  // namespace morvex
