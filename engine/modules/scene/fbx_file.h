// The container of binary FBX: nested records of named properties.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/common/outcome.h"

namespace morvex {

// Version 7.4. Built in memory, since each record begins with the place of its end; below 4 GB.
class FbxFile {
  public:
    FbxFile();

    // Opens a record; its properties come first, then records within it, then Close.
    FbxFile& Open(std::string_view name);
    FbxFile& Close();

    FbxFile& Add(std::int32_t value);
    FbxFile& Add(std::int64_t value);
    FbxFile& Add(double value);
    FbxFile& Add(std::string_view text);
    FbxFile& Add(const char* text) { return Add(std::string_view(text)); }
    FbxFile& AddRaw(std::string_view bytes);
    FbxFile& Add(const std::vector<double>& values);
    FbxFile& Add(const std::vector<std::int32_t>& values);
    // The name of an object, in which name and class are joined.
    FbxFile& AddName(std::string_view name, std::string_view kind);

    // A record that holds nothing but one property.
    template <class Value>
    FbxFile& Leaf(std::string_view name, const Value& value) {
        return Open(name).Add(value).Close();
    }

    // Adds the footer and writes everything. Fails when that cannot be done, or when the file is too large.
    Outcome Write(const std::filesystem::path& path);

  private:
    struct Record {
        std::size_t start, properties;
        std::uint32_t count = 0;
        bool nested = false;
    };
    void Number(std::uint64_t value, int bytes);
    void Patch(std::size_t at, std::size_t value);
    FbxFile& Begin(char type);
    template <class Value>
    FbxFile& Array(char type, const std::vector<Value>& values);
    void EndProperties(Record& record);

    std::string bytes_;
    std::vector<Record> open_;
};

}  // namespace morvex
