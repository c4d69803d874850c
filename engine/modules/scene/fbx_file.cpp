#include "engine/modules/scene/fbx_file.h"

#include <cstring>
#include <limits>
#include <zlib.h>

#include "engine/modules/core/context.h"
#include "engine/modules/scene/output_file.h"

namespace morvex {
namespace {

constexpr std::uint32_t kVersion = 7400;
// What stands for "no more records": a head of zeros.
constexpr std::size_t kEmptyHead = 13;
// Readers compare the first with the file's identity and creation time, which therefore are fixed as well.
constexpr std::string_view kFooterId("\xfa\xbc\xab\x09\xd0\xc8\xd4\x66\xb1\x76\xfb\x83\x1c\xf7\x26\x7e", 16);
constexpr std::string_view kFooterEnd("\xf8\x5a\x8c\x6a\xde\xf5\xd9\x7e\xec\xe9\x0c\xe3\x75\x8f\x29\x0b", 16);
constexpr std::size_t kWorthPacking = 256;

}  // namespace

FbxFile::FbxFile() {
    bytes_.append("Kaydara FBX Binary  \0\x1a\0", 23);
    Number(kVersion, 4);
}

void FbxFile::Number(std::uint64_t value, int bytes) {
    AppendLittleEndian(bytes_, value, bytes);
}

void FbxFile::Patch(std::size_t at, std::size_t value) {
    std::string field;
    AppendLittleEndian(field, value, 4);
    bytes_.replace(at, field.size(), field);
}

void FbxFile::EndProperties(Record& record) {
    if (record.nested) return;
    record.nested = true;
    Patch(record.start + 4, record.count);
    Patch(record.start + 8, bytes_.size() - record.properties);
}

FbxFile& FbxFile::Open(std::string_view name) {
    if (!open_.empty()) EndProperties(open_.back());
    const std::size_t start = bytes_.size();
    Number(0, 12);
    Number(name.size(), 1);
    bytes_ += name;
    open_.push_back({start, bytes_.size()});
    return *this;
}

FbxFile& FbxFile::Close() {
    Record& record = open_.back();
    const bool hadRecords = record.nested;
    EndProperties(record);
    if (hadRecords || record.count == 0) bytes_.append(kEmptyHead, '\0');
    Patch(record.start, bytes_.size());
    open_.pop_back();
    return *this;
}

FbxFile& FbxFile::Begin(char type) {
    ++open_.back().count;
    bytes_ += type;
    return *this;
}

FbxFile& FbxFile::Add(std::int32_t value) {
    Begin('I').Number(static_cast<std::uint32_t>(value), 4);
    return *this;
}

FbxFile& FbxFile::Add(std::int64_t value) {
    Begin('L').Number(static_cast<std::uint64_t>(value), 8);
    return *this;
}

FbxFile& FbxFile::Add(double value) {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    Begin('D').Number(bits, 8);
    return *this;
}

FbxFile& FbxFile::Add(std::string_view text) {
    Begin('S').Number(text.size(), 4);
    bytes_ += text;
    return *this;
}

FbxFile& FbxFile::AddRaw(std::string_view bytes) {
    Begin('R').Number(bytes.size(), 4);
    bytes_ += bytes;
    return *this;
}

FbxFile& FbxFile::AddName(std::string_view name, std::string_view kind) {
    std::string joined(name);
    joined += std::string_view("\0\1", 2);
    joined += kind;
    return Add(std::string_view(joined));
}

template <class Value>
FbxFile& FbxFile::Array(char type, const std::vector<Value>& values) {
    const std::size_t size = values.size() * sizeof(Value);
    const auto* const bytes =
        reinterpret_cast<const char*>(values.data());  // little-endian, as the machine is
    Begin(type).Number(values.size(), 4);
    if (size >= kWorthPacking) {
        const auto plainSize = static_cast<uLong>(size);  // of 32 bits on Windows, as in the file
        uLongf packedSize = compressBound(plainSize);
        std::string packed(packedSize, '\0');
        if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize,
                      reinterpret_cast<const Bytef*>(bytes), plainSize, Z_BEST_SPEED) == Z_OK) {
            Number(1, 4);
            Number(packedSize, 4);
            bytes_.append(packed, 0, packedSize);
            return *this;
        }
    }
    Number(0, 4);
    Number(size, 4);
    bytes_.append(bytes, size);
    return *this;
}

FbxFile& FbxFile::Add(const std::vector<double>& values) {
    return Array('d', values);
}
FbxFile& FbxFile::Add(const std::vector<std::int32_t>& values) {
    return Array('i', values);
}

Outcome FbxFile::Write(const std::filesystem::path& path) {
    bytes_.append(kEmptyHead, '\0');
    bytes_ += kFooterId;
    bytes_.append(4, '\0');
    bytes_.append(16 - bytes_.size() % 16, '\0');
    Number(kVersion, 4);
    bytes_.append(120, '\0');
    bytes_ += kFooterEnd;
    if (bytes_.size() > std::numeric_limits<std::uint32_t>::max())
        return Outcome::Fail(ZEL_FAILED, "The model is too large for one FBX file");
    OutputFile file(path);
    file.Write(bytes_);
    return Written(file.Close());
}

}  // namespace morvex
