// The per-user cache of unpacked kernel images and modules.
#include "search/kernel_image_cache.h"

#include <boost/filesystem/operations.hpp>

#include "ff_checksum.h"
#include "ff_utils.h"
#include "files/kernel_module_names.h"
#include "files/kernel_unpacker.h"
#include "tarnbase2/tarnbase2.h"

namespace FF_2_13 {

namespace {

constexpr char kKernelCacheDirName[] = "vmlinux_cache";
constexpr char kModuleCacheDirName[] = "module_cache";

// <user data>/<cacheName>/<md5 of compressed>/<fileName>, with its directories made; false
// when the checksum cannot be computed.
bool cacheEntry(const char* compressed, const char* cacheName, const std::string& fileName,
                std::string& entry) {
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    if (!calculator) return false;
    ObjectPtr<IChecksum> checksum = calculator->calculateChecksum(compressed, ctMD5);
    if (!checksum) return false;

    const char* userData = tarnbase2::IProductLocations::get()->userDataDir();
    const std::string cacheRoot = utils::addSubPart(userData, cacheName);
    const std::string entryDir = utils::addSubPart(cacheRoot.c_str(), checksum->value());
    entry = utils::addSubPart(entryDir.c_str(), fileName.c_str());
    if (!utils::fileExists(entry.c_str())) {
        boost::system::error_code ignored;  // a data directory that cannot be made shows later
        boost::filesystem::create_directories(userData, ignored);
        utils::createDir(cacheRoot.c_str());
        utils::createDir(entryDir.c_str());
    }
    return true;
}

KernelUnpackResult unpackInto(const char* compressed, const char* cacheName,
                              const std::string& fileName, std::string& unpacked) {
    if (!cacheEntry(compressed, cacheName, fileName, unpacked))
        return KernelUnpackResult{kuInputNotReadable, kcNone, 0};
    // Only a complete unpacking is ever renamed into the cache: a file there is finished.
    if (utils::fileExists(unpacked.c_str())) return KernelUnpackResult{kuUnpacked, kcNone, 0};
    return unpackCompressedFile(compressed, unpacked);  // logs how it went
}

}  // namespace

bool KernelImageCache::isCompressedImage(const char* path) {
    return utils::getFileNameOnly(path).compare(0, std::char_traits<char>::length(VMLINUZ),
                                                VMLINUZ) == 0;
}

KernelImageCache::Outcome KernelImageCache::unpack(const char* compressed, std::string& image) {
    if (!cacheEntry(compressed, kKernelCacheDirName, VMLINUX, image)) return Outcome::unhashable;
    if (!utils::fileExists(image.c_str()))
        utils::extractVmlinux(compressed, image.c_str());  // logs how it went
    return utils::fileExists(image.c_str()) ? Outcome::unpacked : Outcome::notUnpacked;
}

KernelUnpackResult KernelImageCache::unpackAnyFormat(const char* compressed, std::string& image) {
    return unpackInto(compressed, kKernelCacheDirName, VMLINUX, image);
}

KernelUnpackResult KernelImageCache::unpackModule(const char* compressed, std::string& module) {
    const std::string name = utils::getFileNameOnly(compressed);
    const std::string unpackedName = name.substr(0, name.size() - compressedModuleSuffix(name));
    return unpackInto(compressed, kModuleCacheDirName, unpackedName, module);
}

}  // namespace FF_2_13
