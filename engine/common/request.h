// One conversion as the caller asks for it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace morvex {

struct Format;

struct Request {
    std::filesystem::path input;  // absolute, as is the output
    std::filesystem::path output;
    std::filesystem::path config;       // may be empty or missing: every key then has its default
    std::vector<std::string> settings;  // "SECTION/KEY=VALUE", each overrides the configuration file
    std::filesystem::path picture;      // a PNG of the model to write; empty: none
    const Format* from = nullptr;
    const Format* to = nullptr;
    bool parallel = false;  // other conversions run at the same time: keep to one processor
    int refused = 0;        // the result with which the caller's system refuses the job; 0: it does not
    bool trace = false;     // let the libraries' own messages reach standard error
};

}  // namespace morvex
