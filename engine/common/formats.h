// The formats of the engine: which number, which suffixes, who reads and who writes them.
#pragma once

#include <filesystem>
#include <span>
#include <string_view>

namespace morvex {

enum class FormatId {
    Step,
    Iges,
    Brep,
    Stl,
    Vrml,
    Obj,
    Gltf,
    Glb,
    Collada,
    Fbx,
    ThreeMf,
    Ifc,
    Dxf,
    DxfDrawing,
    PdfDrawing,
    EmfDrawing,
    PartsList,
    Amf,
    X3d,
    ThreeDs,
    Ply,
    Off
};

// What a writer needs the model to be.
enum class Needs {
    Triangles,      // every face meshed
    FineTriangles,  // so fine that curves drawn along them look smooth
    Surfaces,       // every face with a surface of its own
    Anything
};

struct Format {
    FormatId id;
    const char* name;                            // as the command takes and lists it
    std::span<const int> codes;                  // the numbers that callers of the library know it by
    std::span<const std::string_view> suffixes;  // lower case, with the dot; the first is the usual one
    const char* readModule;                      // shared object beside the worker; null: not read
    const char* readFunction;
    const char* writeModule;  // null: not written
    const char* writeFunction;
    Needs writerNeeds;
    const char* sideSuffix;  // of the file that the writer leaves beside the main one, or null

    bool WritesTriangles() const {
        return writerNeeds == Needs::Triangles || writerNeeds == Needs::FineTriangles;
    }
    // The views of the model on a sheet, which nobody makes a model of again.
    bool IsDrawing() const { return writerNeeds == Needs::FineTriangles; }
};

constexpr int kAnyFormatCode = 1;

std::span<const Format> AllFormats();

// The format a file is read as. `code` kAnyFormatCode goes by the suffix alone; a number of several formats
// is settled by the suffix. Null when there is none.
const Format* FindInputFormat(int code, const std::filesystem::path& path);

// The same for a file to write.
const Format* FindOutputFormat(int code, const std::filesystem::path& path);

// By the name that `--list` prints, any letter case; null when there is none.
const Format* FindFormatByName(std::string_view name);

}  // namespace morvex
