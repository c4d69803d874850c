#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace morvex::chain {

namespace fs = std::filesystem;

// Where Debian's occt-misc puts its sample parts.
inline const fs::path kParts = "/usr/share/opencascade/data";

// A fresh folder, removed with the object.
class Folder {
  public:
    Folder();
    ~Folder();
    fs::path Path() const { return path_; }
    fs::path operator/(const std::string& name) const { return path_ / name; }
    std::vector<std::string> Names() const;  // sorted

  private:
    fs::path path_;
};

// A process that was started and not waited for yet; killed with all it started when the object goes.
class Process {
  public:
    explicit Process(int id) : id_(id) {}
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();
    int Wait(double seconds);  // exit code, -1 when it does not end in time
    void Kill();               // like a crash: nothing can be cleaned up

  private:
    int id_;
};

// A program folder of its own around the built Morvex.exe and engine, with a user folder.
class Program {
  public:
    Program();

    // Converts one file to an output path or folder (ending in "/") and returns the exit code as the system
    // keeps it, a byte: a library result of -22 comes back as -22. -1000 when it took more than a minute.
    int Convert(const std::string& from, const std::string& to, const fs::path& input,
                const std::string& output, const std::string& configText = "") const;

    // Starts Morvex.exe with these environment variables and arguments.
    int Start(const std::map<std::string, std::string>& environment,
              const std::vector<std::string>& arguments) const;

    fs::path Root() const { return folder_.Path(); }

  private:
    Folder folder_;
};

// The Windows form of a path of this system.
std::string WindowsPath(const std::string& path);

std::string ReadBytes(const fs::path& path);
void WriteBytes(const fs::path& path, const std::string& bytes);
std::string Utf16(const std::string& ascii);  // with byte-order mark

// Ids of running processes whose command line holds the text.
std::vector<int> ProcessesWith(const std::string& text);

void Pause();  // a few milliseconds, between two looks at a condition

template <class Condition>
bool Eventually(double seconds, Condition condition) {
    for (int left = static_cast<int>(seconds * 50); left > 0; --left) {
        if (condition()) return true;
        Pause();
    }
    return condition();
}

}  // namespace morvex::chain
