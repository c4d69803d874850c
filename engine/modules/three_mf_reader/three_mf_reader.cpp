// 3MF: a package with a model, which may have parts in other files of the package.
#include "engine/common/paths.h"
#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/read_error.h"
#include "engine/modules/core/xml_tags.h"
#include "engine/modules/core/zip_access.h"
#include "engine/modules/three_mf_reader/three_mf_model.h"

namespace morvex {
namespace {

gp_GTrsf Scaled(double factor) {
    return {gp_Mat(factor, 0, 0, 0, factor, 0, 0, 0, factor), gp_XYZ()};
}

// As the list of relationships of the package names it.
std::string MainFile(const std::filesystem::path& package) {
    const std::string relationships = ZipMember(package, "_rels/.rels");
    XmlTags tags(relationships);
    while (const auto tag = tags.Take())
        if (tag->Value("Type").ends_with("/3dmodel")) return XmlUnescaped(tag->Value("Target"));
    return k3mfModel;
}

class SceneMaker {
  public:
    explicit SceneMaker(JobContext& context) : context_(context), main_(MainFile(context.file)) {}

    Scene Make() {
        const ThreeMfModel& main = Model(main_);
        context_.TellUnit(main.unit);
        scene_.toOurs = Scaled(main.unit);
        for (const ThreeMfPlace& item : main.build) scene_.roots.push_back(PlacementOf(item, main_));
        std::int64_t triangles = 0;
        bool beams = false;
        for (const auto& [file, model] : models_) {
            triangles += model.triangles;
            beams = beams || model.hasBeams;
        }
        context_.journal.Account("triangles", triangles, 0);
        if (beams) context_.journal.Lose("the beams of lattices");
        return std::move(scene_);
    }

  private:
    const ThreeMfModel& Model(const std::string& file) {
        const auto [place, isNew] = models_.try_emplace(file);
        if (!isNew) return place->second;
        const std::string bytes = ZipMember(context_.file, file.c_str() + (file.starts_with('/') ? 1 : 0));
        if (bytes.empty()) throw ReadError("The package has no \"" + CleanUtf8(file) + "\"");
        const DecodedText text(bytes);
        place->second = ParseThreeMf(text.View());
        if (const std::string& demand = place->second.unknownDemand; !demand.empty()) {
            throw ReadError("The extension \"" + CleanUtf8(demand) + "\" of 3MF is not supported",
                            ZEL_VERSION);
        }
        return place->second;
    }

    ScenePlacement PlacementOf(const ThreeMfPlace& place, const std::string& file) {
        const std::string& in = place.file.empty() ? file : place.file;
        return {NodeOf(in, place.object), place.map, {}};
    }

    std::size_t NodeOf(const std::string& file, const std::string& number) {
        const auto [place, isNew] = nodes_.try_emplace({file, number}, scene_.nodes.size());
        if (!isNew) return place->second;
        const std::size_t node = place->second;
        if (++depth_ > kDeepest) throw ReadError("The objects of the file are nested too deeply", ZEL_FAILED);
        const auto& objects = Model(file).objects;
        const auto found = objects.find(number);
        if (found == objects.end()) throw ReadError("An object is placed that is not there");
        const ThreeMfObject& object = found->second;
        scene_.nodes.push_back({object.name, {}, {}});
        if (!object.mesh.corners.empty()) {
            scene_.nodes[node].meshes.push_back(scene_.meshes.size());
            std::optional<Quantity_ColorRGBA> colour;
            if (object.colour) {
                const auto& [red, green, blue, alpha] = *object.colour;
                colour = Quantity_ColorRGBA(Quantity_Color(red, green, blue, Quantity_TOC_sRGB), alpha);
            }
            scene_.meshes.push_back({object.name, object.mesh.Faces(scene_.toOurs, colour)});
        }
        for (const ThreeMfPlace& component : object.components) {
            const ScenePlacement below = PlacementOf(component, file);
            scene_.nodes[node].children.push_back(below);
        }
        --depth_;
        return node;
    }

    static constexpr std::size_t kDeepest = 400;

    JobContext& context_;
    std::string main_;
    std::size_t depth_ = 0;
    Scene scene_;
    std::map<std::string, ThreeMfModel> models_;  // by their files
    std::map<std::pair<std::string, std::string>, std::size_t> nodes_;
};

}  // namespace

extern "C" Outcome Read3mf(JobContext& context) {
    AddScene(context.document, SceneMaker(context).Make(), Utf8(context.file.stem()));
    return Outcome::Ok();
}

}  // namespace morvex
