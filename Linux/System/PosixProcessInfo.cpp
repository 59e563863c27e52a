#include "Linux/System/PosixProcessInfo.h"

#include <atomic>
#include <cctype>
#include <fstream>
#include <random>
#include <sstream>
#include <unistd.h>

namespace pellaro {

namespace {

/// When the process was started, in clock ticks since the computer was; empty when there is none, or one that has ended and that its
/// parent has not asked about yet.
std::string startTime(const std::string &process) {
    constexpr int fieldsBetween = 18; // from the state, which follows the name, to the start time
    std::ifstream file("/proc/" + process + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream fields(line.substr(std::min(line.size(), line.rfind(')') + 1))); // the name may hold anything
    std::string state;
    std::string field;
    fields >> state;
    for (int i = 0; i <= fieldsBetween; ++i)
        fields >> field;
    return fields && state != "Z" && state != "X" ? field : "";
}

std::string takeDigits(std::string &text) {
    std::size_t length = 0;
    while (length < text.size() && std::isdigit(static_cast<unsigned char>(text[length])))
        ++length;
    std::string digits = text.substr(0, length);
    text.erase(0, length + 1);
    return digits;
}

} // namespace

int PosixProcessInfo::processIdentifier() const {
    return getpid();
}

std::string PosixProcessInfo::globallyUniqueString() const {
    static std::atomic<unsigned> count = 0;
    const std::string process = std::to_string(getpid());
    return process + "-" + startTime(process) + "-" + std::to_string(++count) + "-" + std::to_string(std::random_device()());
}

bool PosixProcessInfo::isOfRunningProcess(const std::string &uniqueString) const {
    std::string rest = uniqueString;
    const std::string process = takeDigits(rest);
    const std::string started = takeDigits(rest);
    return !process.empty() && !started.empty() && startTime(process) == started;
}

} // namespace pellaro
