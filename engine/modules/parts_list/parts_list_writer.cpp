// The parts of a model, its tree and what can be measured of them, in XML. Each part and each assembly stands
// once; what holds it refers to it.
#include <Message_ProgressScope.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TopExp_Explorer.hxx>
#include <algorithm>
#include <cmath>
#include <map>

#include "engine/common/text.h"
#include "engine/modules/core/context.h"
#include "engine/modules/core/faces.h"
#include "engine/modules/core/measure.h"
#include "engine/modules/scene/text_file.h"

namespace morvex {
namespace {

std::string NameOf(const TDF_Label& label) {
    Handle(TDataStd_Name) name;
    if (!label.FindAttribute(TDataStd_Name::GetID(), name)) return {};
    return TCollection_AsciiString(name->Get()).ToCString();
}

std::string EntryOf(const TDF_Label& label) {
    TCollection_AsciiString entry;
    TDF_Tool::Entry(label, entry);
    return entry.ToCString();
}

// What an assembly holds, with what each of it refers to.
struct Component {
    TDF_Label self, shows;
};
std::vector<Component> ComponentsOf(const TDF_Label& assembly) {
    std::vector<Component> components;
    TDF_LabelSequence labels;
    XCAFDoc_ShapeTool::GetComponents(assembly, labels);
    for (const TDF_Label& label : labels) {
        TDF_Label shows;
        if (XCAFDoc_ShapeTool::GetReferredShape(label, shows)) components.push_back({label, shows});
    }
    return components;
}

class PartsListWriter {
  public:
    PartsListWriter(const JobContext& context, TextFile& file)
        : document_(context.document), file_(file), context_(context) {}

    void Write() {
        for (const TDF_Label& root : document_.Roots()) Collect(root);
        for (const TDF_Label& root : document_.Roots()) items_[EntryOf(root)].count += 1;
        // From the roots down: what holds an item comes behind it.
        for (auto at = order_.rbegin(); at != order_.rend(); ++at) {
            const std::int64_t count = items_[EntryOf(*at)].count;
            for (const Component& component : ComponentsOf(*at)) {
                std::int64_t& below = items_[EntryOf(component.shows)].count;
                below = std::min(below + count, kMost);
            }
        }
        const ModelCounts counts = document_.Count();
        file_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<partsList unit=\"mm\" parts=\"" << counts.parts
              << "\" instances=\"" << counts.instances << "\" solids=\"" << counts.solids << "\" faces=\""
              << counts.faces << "\" triangles=\"" << counts.triangles << "\">\n";
        Message_ProgressScope progress(context_.progress, nullptr, static_cast<double>(order_.size()));
        for (const TDF_Label& label : order_) {
            const Message_ProgressRange done = progress.Next();
            if (XCAFDoc_ShapeTool::IsAssembly(label)) {
                WriteAssembly(label);
            } else {
                WritePart(label);
            }
        }
        file_ << " <model>\n";
        for (const TDF_Label& root : document_.Roots()) WriteItem(root, root);
        file_ << " </model>\n</partsList>\n";
    }

  private:
    static constexpr std::int64_t kMost = std::int64_t{1} << 40;  // nested references multiply beyond bounds
    struct Item {
        std::string id;
        std::int64_t count = 0;
    };

    void Collect(const TDF_Label& label) {
        const auto [place, isNew] = items_.try_emplace(EntryOf(label));
        if (!isNew) return;
        const bool assembly = XCAFDoc_ShapeTool::IsAssembly(label);
        for (const Component& component : ComponentsOf(label)) Collect(component.shows);
        place->second.id = (assembly ? "a" : "p") + std::to_string(assembly ? ++assemblies_ : ++parts_);
        order_.push_back(label);
    }

    void Attribute(const char* name, const std::string& text) {
        if (!text.empty()) file_ << " " << name << "=\"" << XmlText(text) << "\"";
    }

    static std::string ColourText(const Quantity_ColorRGBA& colour) {
        double rgb[3];
        colour.GetRGB().Values(rgb[0], rgb[1], rgb[2], Quantity_TOC_sRGB);
        char text[16];
        std::snprintf(text, sizeof text, "#%02lx%02lx%02lx%02lx", std::lround(rgb[0] * 255),
                      std::lround(rgb[1] * 255), std::lround(rgb[2] * 255),
                      std::lround(static_cast<double>(colour.Alpha()) * 255));
        return text;
    }

    std::string ColourOf(const TDF_Label& label) const {
        Quantity_ColorRGBA colour;
        return document_.ColourOf(label, colour) ? ColourText(colour) : "";
    }

    void Open(const char* element, const TDF_Label& label) {
        const Item& item = items_[EntryOf(label)];
        file_ << " <" << element << " id=\"" << item.id << "\"";
        Attribute("name", NameOf(label));
        Attribute("colour", ColourOf(label));
        file_ << " count=\"" << item.count << "\"";
    }

    void WriteAssembly(const TDF_Label& label) {
        Open("assembly", label);
        file_ << ">\n";
        for (const Component& component : ComponentsOf(label)) WriteItem(component.self, component.shows);
        file_ << " </assembly>\n";
    }

    // An instance: three rows of four numbers where it is not in the place of what holds it.
    void WriteItem(const TDF_Label& self, const TDF_Label& shows) {
        file_ << "  <item of=\"" << items_[EntryOf(shows)].id << "\"";
        if (self != shows) {
            Attribute("name", NameOf(self));
            Attribute("colour", ColourOf(self));
        }
        const gp_Trsf place = XCAFDoc_ShapeTool::GetLocation(self).Transformation();
        if (place.Form() != gp_Identity) {
            file_ << " place=\"";
            for (int at = 0; at < 12; ++at)
                file_ << (at == 0 ? "" : " ") << place.Value(at / 4 + 1, at % 4 + 1);
            file_ << "\"";
        }
        file_ << "/>\n";
    }

    void WritePart(const TDF_Label& label) {
        const TopoDS_Shape shape = XCAFDoc_ShapeTool::GetShape(label);
        std::int64_t solids = 0, faces = 0, triangles = 0;
        for (TopExp_Explorer at(shape, TopAbs_SOLID); at.More(); at.Next()) ++solids;
        for (const TopoDS_Face& face : FacesOf(shape)) {
            const FaceTriangles mesh(face);
            ++faces;
            if (!mesh.IsNull()) triangles += mesh.Count();
        }
        Open("part", label);
        file_ << " solids=\"" << solids << "\" faces=\"" << faces << "\" triangles=\"" << triangles
              << "\">\n";
        WriteFaceColours(label);
        if (const auto size = MeasureShape(shape)) WriteSize(*size);
        file_ << " </part>\n";
    }

    // Colours that faces or bodies have of their own, with how many of them.
    void WriteFaceColours(const TDF_Label& part) {
        TDF_LabelSequence below;
        XCAFDoc_ShapeTool::GetSubShapes(part, below);
        std::map<std::string, int> colours;
        for (const TDF_Label& label : below) {
            const std::string colour = ColourOf(label);
            if (!colour.empty()) ++colours[colour];
        }
        for (const auto& [colour, count] : colours)
            file_ << "  <faceColour value=\"" << colour << "\" count=\"" << count << "\"/>\n";
    }

    void Point(const char* name, const morvex::Point& point) {
        file_ << " " << name << "=\"" << point[0] << " " << point[1] << " " << point[2] << "\"";
    }

    void WriteSize(const Measures& size) {
        file_ << "  <size";
        Point("low", size.box.low);
        Point("high", size.box.high);
        file_ << " area=\"" << size.area << "\"";
        if (size.volume) file_ << " volume=\"" << *size.volume << "\"";
        Point("centre", size.centre);
        file_ << "/>\n";
    }

    const Document& document_;
    TextFile& file_;
    const JobContext& context_;
    std::map<std::string, Item> items_;  // by entry
    std::vector<TDF_Label> order_;       // what an assembly holds before it
    int assemblies_ = 0, parts_ = 0;
};

}  // namespace

extern "C" Outcome WritePartsList(JobContext& context) {
    TextFile file(context.file, context.settings.decimals);
    PartsListWriter(context, file).Write();
    return Written(file.Close());
}

}  // namespace morvex
