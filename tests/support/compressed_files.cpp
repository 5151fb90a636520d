#include "compressed_files.h"

#include <cstdlib>
#include <random>

#include "temp_dir.h"

namespace fftest {

std::string elfLikeFile(size_t size, unsigned seed) {
    std::string bytes("\x7F\x45\x4C\x46\x02\x01\x01", 7);  // 7F "ELF", 64-bit, LE
    bytes.resize(16, '\0');
    std::mt19937 random(seed);
    std::geometric_distribution<int> skewed(0.08);
    while (bytes.size() < size) bytes.push_back(static_cast<char>(skewed(random) & 0xFF));
    bytes.resize(size);
    return bytes;
}

std::string compressWith(const std::string& tool, const std::string& data, const TempDir& dir) {
    const std::string in = dir.makeFile("to-compress", data);
    const std::string out = dir / "compressed";
    const std::string command = tool + " '" + in + "' >'" + out + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) return std::string();
    return readFile(out);
}

}  // namespace fftest
