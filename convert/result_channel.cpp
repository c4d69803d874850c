#include "convert/result_channel.h"

#include <algorithm>
#include <atomic>
#include <cwchar>

#include "win/environment.h"

namespace morvex {
namespace {

// What lies in the memory that run and child share.
struct Shared {
    std::atomic<int> begun;       // 1 when the conversion has
    std::atomic<int> percent;     // of the conversion so far
    std::atomic<DWORD> complete;  // kComplete when the rest is there
    int result;
    int abandoned;
    int crashed;
    wchar_t message[1000];  // ends with 0
};
constexpr DWORD kComplete = 0x444F4E45;

UniqueView MapShared(HANDLE section, DWORD access) {
    return UniqueView(MapViewOfFile(section, access, 0, 0, sizeof(Shared)));
}

}  // namespace

bool IsChildOfRun() {
    return !EnvironmentText(kResultChannelVariable).empty();
}

ResultChannel::ResultChannel() {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    section_.reset(
        CreateFileMappingW(INVALID_HANDLE_VALUE, &inherited, PAGE_READWRITE, 0, sizeof(Shared), nullptr));
    view_ = MapShared(Handle(), FILE_MAP_READ);
}

std::wstring ResultChannel::Name() const {
    return std::to_wstring(reinterpret_cast<std::uintptr_t>(Handle()));
}

std::optional<ChildReport> ResultChannel::Read() const {
    const auto* shared = static_cast<const Shared*>(view_.get());
    if (!shared || shared->complete != kComplete) return std::nullopt;
    const wchar_t* const end = std::find(std::begin(shared->message), std::end(shared->message), L'\0');
    return ChildReport{shared->result, shared->abandoned != 0, shared->crashed != 0, {shared->message, end}};
}

bool ResultChannel::HasBegun() const {
    const auto* shared = static_cast<const Shared*>(view_.get());
    return !shared || shared->begun != 0;
}

int ResultChannel::Percent() const {
    const auto* shared = static_cast<const Shared*>(view_.get());
    return shared ? std::clamp<int>(shared->percent, 0, 100) : 0;
}

ChannelToRun::ChannelToRun() {
    const std::wstring name = EnvironmentText(kResultChannelVariable);
    if (name.empty()) return;
    view_ = MapShared(reinterpret_cast<HANDLE>(std::wcstoull(name.c_str(), nullptr, 10)), FILE_MAP_WRITE);
}

void ChannelToRun::ShowBegun() const {
    if (auto* const shared = static_cast<Shared*>(view_.get())) shared->begun = 1;
}

void ChannelToRun::ShowPercent(int percent) const {
    if (auto* const shared = static_cast<Shared*>(view_.get())) shared->percent = percent;
}

void ChannelToRun::Report(const ChildReport& report) const {
    auto* const shared = static_cast<Shared*>(view_.get());
    if (!shared) return;
    shared->result = report.result;
    shared->abandoned = report.abandoned;
    shared->crashed = report.crashed;
    report.message.copy(shared->message, std::size(shared->message) - 1);
    shared->complete = kComplete;
}

}  // namespace morvex
