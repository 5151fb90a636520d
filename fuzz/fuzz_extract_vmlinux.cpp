// utils::extractVmlinux on arbitrary bytes as the compressed image.
//
// Properties, besides not crashing and not leaking (AddressSanitizer's leak check):
// - a false answer leaves no file under the output name, also when one stood there
//   before the call;
// - a true answer (a whole stream, or one cut off before its end) leaves the output;
// - the extraction's own temporary file never stays behind.
#include <string>
#include <vector>

#include "ff_kernel_image.h"
#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fffuzz::clearScratch();
    const std::string image = fffuzz::writeScratchFile("vmlinuz", data, size);
    // An earlier extraction's result: a failure must not leave it for a finished one.
    const uint8_t old[] = {'o', 'l', 'd'};
    const std::string kernel = fffuzz::writeScratchFile("vmlinux", old, sizeof old);

    const bool extracted = FF_2_13::utils::extractVmlinux(image.c_str(), kernel.c_str());

    const std::vector<std::string> left = fffuzz::scratchEntries();
    const std::vector<std::string> expected = extracted
                                                  ? std::vector<std::string>{"vmlinux", "vmlinuz"}
                                                  : std::vector<std::string>{"vmlinuz"};
    FUZZ_CHECK(left == expected, extracted
                                     ? "a true answer without exactly the output beside the image"
                                     : "a false answer left a file beside the image");
    return 0;
}
