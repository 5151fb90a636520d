// The per-user cache of unpacked kernel images.
#include "search/kernel_image_cache.h"

#include <boost/filesystem/operations.hpp>

#include "ff_checksum.h"
#include "ff_kernel_image.h"
#include "ff_utils.h"
#include "tarnbase2/tarnbase2.h"

namespace FF_2_13 {

namespace {
constexpr char kCacheDirName[] = "vmlinux_cache";
}  // namespace

bool KernelImageCache::isCompressedImage(const char* path) {
    return utils::getFileNameOnly(path).compare(0, std::char_traits<char>::length(VMLINUZ),
                                                VMLINUZ) == 0;
}

KernelImageCache::Outcome KernelImageCache::unpack(const char* compressed, std::string& image) {
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    if (!calculator) return Outcome::unhashable;
    ObjectPtr<IChecksum> checksum = calculator->calculateChecksum(compressed, ctMD5);
    if (!checksum) return Outcome::unhashable;

    const char* userData = tarnbase2::IProductLocations::get()->userDataDir();
    const std::string cacheRoot = utils::addSubPart(userData, kCacheDirName);
    const std::string imageDir = utils::addSubPart(cacheRoot.c_str(), checksum->value());
    image = utils::addSubPart(imageDir.c_str(), VMLINUX);
    if (!utils::fileExists(image.c_str())) {
        boost::system::error_code ignored;  // a data directory that cannot be made shows below
        boost::filesystem::create_directories(userData, ignored);
        utils::createDir(cacheRoot.c_str());
        utils::createDir(imageDir.c_str());
        utils::extractVmlinux(compressed, image.c_str());  // logs how it went
    }
    return utils::fileExists(image.c_str()) ? Outcome::unpacked : Outcome::notUnpacked;
}

}  // namespace FF_2_13
