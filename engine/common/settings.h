// The keys of the conversion configuration file that the engine honours.
#pragma once

#include <string>
#include <vector>

#include "engine/common/ini_file.h"

namespace morvex {

// What becomes of what the input hides. Where the output's format cannot hide it, what is kept is shown.
constexpr int kHiddenLeftOut = -1, kHiddenKept = 0, kHiddenShown = 1;

struct Settings {
    // Tessellation. A tolerance that is switched off takes the engine's own: 1/1000 of the model's diagonal,
    // 0.5 rad.
    bool linearOff = true;
    double linearTolerance = 0.1;  // mm
    bool angularOff = true;
    double angularTolerance = 0.174532;  // radians
    double smallestEdge = 0;             // mm
    bool keepMeshes = true;              // use triangles that the input brings along
    bool normalsFromSurface = true;
    bool asciiStl = false;

    // What is converted.
    bool wireframe = false;
    bool annotations = false;  // dimensions, tolerances, datums
    bool colours = true;
    bool constructSolids = true;
    bool sew = false;
    int partVisibility = kHiddenLeftOut;  // of hidden parts
    int assemblyVisibility = kHiddenLeftOut;
    bool toNurbs = false;
    bool keepAssembly = true;

    bool readStepAnnotations = false;
    bool writeStepAnnotations = true;
    int stepVersion = 0;  // 203, 214, 242, or 0: 214, and 242 when there are annotations to keep

    bool reverseTransparency = false;
    bool colladaTree = true;
    bool colladaCopies = true;  // geometry repeated in each node instead of the nodes' library
    int colladaVersion = 141;
    bool vertexColours = false;

    int decimals = 10;  // most decimals of the numbers in text formats
    bool writeReport = true;
    bool picture = false;      // in the report
    bool keepPartial = false;  // an input of which something is missing is converted all the same
    int verify = 1;            // of what was written: 0 nothing, 1 counts and box, 2 all

    bool operator==(const Settings&) const = default;
};

struct SettingName {
    std::string section, key;
};
// Every key that is read.
std::vector<SettingName> SettingNames();

// What the environment variable MORVEX_PREVIEW=1 stands for.
constexpr char kPictureSetting[] = "FILE CONF/PREVIEW=1";

// Reads every key; one that is missing has its default, and so has one whose value makes no sense, which is
// then named in `complaints`.
Settings ReadSettings(const IniFile& file, std::vector<std::string>& complaints);

}  // namespace morvex
