#include "engine/common/settings.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <variant>

namespace morvex {
namespace {

struct Switch {
    bool Settings::*member;
};
struct Choice {
    int Settings::*member;
    std::vector<int> allowed;
};
struct Number {
    double Settings::*member;
    double least, most;
};
struct Count {
    int Settings::*member;
    int least, most;
};

struct Key {
    const char* section;
    const char* name;
    std::variant<Switch, Choice, Number, Count> meaning;
};

constexpr double kRightAngle = 1.5707963267948966;

const Key kKeys[] = {
    {"FILTRAGE DE DOMAINE", "FILAIRE", Switch{&Settings::wireframe}},
    {"FILTRAGE DE DOMAINE", "FDT", Switch{&Settings::annotations}},
    {"FILTRAGE DE DOMAINE", "RENDER_INFOS", Switch{&Settings::colours}},
    {"FILTRAGE DE DOMAINE", "CONSTRUCT_SOLIDS", Switch{&Settings::constructSolids}},
    {"MODIFICATION D'ATTRIBUT", "VISIBILITY",
     Choice{&Settings::partVisibility, {kHiddenLeftOut, kHiddenKept, kHiddenShown}}},
    {"MODIFICATION D'ATTRIBUT", "ASM_VISIBILITY",
     Choice{&Settings::assemblyVisibility, {kHiddenLeftOut, kHiddenKept, kHiddenShown}}},
    {"TRANSFORMATION ENTITES", "BODY_TO_NURBS", Switch{&Settings::toNurbs}},
    {"TRANSFORMATION ENTITES", "SEW", Switch{&Settings::sew}},
    {"TRANSFORMATION ENTITES", "KEEP_ASSEMBLY", Switch{&Settings::keepAssembly}},
    {"STL CONF", "MINSIZE", Number{&Settings::smallestEdge, 0, 1e9}},
    {"STL CONF", "LINEAR_DIS", Switch{&Settings::linearOff}},
    {"STL CONF", "LINEAR_TOL", Number{&Settings::linearTolerance, 1e-6, 1e6}},
    {"STL CONF", "ANGULAR_DIS", Switch{&Settings::angularOff}},
    {"STL CONF", "ANGULAR_TOL", Number{&Settings::angularTolerance, 1e-3, kRightAngle}},
    {"STL CONF", "WRITE_ASCII", Switch{&Settings::asciiStl}},
    {"STL CONF", "COMPUTE_NORMALES_FROM_SURFACE", Switch{&Settings::normalsFromSurface}},
    {"STL CONF", "USE_TESSEL", Switch{&Settings::keepMeshes}},
    {"FILE CONF", "WRITE_LOG_FILE", Switch{&Settings::writeReport}},
    {"FILE CONF", "PREVIEW", Switch{&Settings::picture}},
    {"FILE CONF", "KEEP_PARTIAL", Switch{&Settings::keepPartial}},
    {"FILE CONF", "VERIFY", Choice{&Settings::verify, {0, 1, 2}}},
    {"STEP CONF", "READ_FDT", Switch{&Settings::readStepAnnotations}},
    {"STEP CONF", "WRITE_FDT", Switch{&Settings::writeStepAnnotations}},
    {"STEP CONF", "WRITE_VERSION", Choice{&Settings::stepVersion, {0, 203, 214, 242}}},
    {"COLLADA CONF", "REVERSE_TRANSPARENCY", Switch{&Settings::reverseTransparency}},
    {"COLLADA CONF", "KEEP_ZEL_TREE", Switch{&Settings::colladaTree}},
    {"COLLADA CONF", "NO_INSTANCE_NODE", Switch{&Settings::colladaCopies}},
    {"COLLADA CONF", "VERSION", Choice{&Settings::colladaVersion, {140, 141, 150}}},
    {"COLLADA CONF", "USE_VERTEX_COLOR", Switch{&Settings::vertexColours}},
    {"TOLERANCE", "NB_DECIMALE", Count{&Settings::decimals, 0, 15}},
};

template <class T>
std::optional<T> Parse(const std::string& text) {
    T value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return value;
}

// Each Set answers whether the text made sense.
bool Set(Settings& settings, const Switch& key, const std::string& text) {
    const auto value = Parse<int>(text);
    if (!value || (*value != 0 && *value != 1)) return false;
    settings.*key.member = *value == 1;
    return true;
}

bool Set(Settings& settings, const Choice& key, const std::string& text) {
    const auto value = Parse<int>(text);
    for (const int allowed : key.allowed) {
        if (value == allowed) return settings.*key.member = allowed, true;
    }
    return false;
}

bool Set(Settings& settings, const Number& key, const std::string& text) {
    const auto value = Parse<double>(text);
    if (!value || !std::isfinite(*value) || *value < key.least || *value > key.most) return false;
    settings.*key.member = *value;
    return true;
}

bool Set(Settings& settings, const Count& key, const std::string& text) {
    const auto value = Parse<int>(text);
    if (!value || *value < key.least || *value > key.most) return false;
    settings.*key.member = *value;
    return true;
}

}  // namespace

std::vector<SettingName> SettingNames() {
    std::vector<SettingName> names;
    for (const Key& key : kKeys) names.push_back({key.section, key.name});
    return names;
}

Settings ReadSettings(const IniFile& file, std::vector<std::string>& complaints) {
    Settings settings;
    for (const Key& key : kKeys) {
        const auto text = file.Value(key.section, key.name);
        if (!text) continue;
        const bool understood =
            std::visit([&](const auto& meaning) { return Set(settings, meaning, *text); }, key.meaning);
        if (!understood) {
            complaints.push_back(std::string("Setting ") + key.section + "/" + key.name + ": \"" + *text +
                                 "\" is not usable, the default was taken");
        }
    }
    return settings;
}

}  // namespace morvex
