// `extract-kernel VMLINUZ OUT`: unpacks the kernel carried in a compressed kernel image.
#include <iostream>
#include <memory>
#include <system_error>

#include <file_finder.h>

#include "commands/commands.h"
#include "core/exit_codes.h"

namespace ffcli {

namespace {

struct ExtractKernel {
    std::string image;
    std::string output;
};

// The message for each way an unpacking can fail.
std::string failureMessage(const FF_2_13::KernelUnpackResult& result, const std::string& image,
                           const std::string& output) {
    using namespace FF_2_13;
    const std::string format = utils::kernelCompressionName(result.format);
    const std::string stream = "the " + format + " stream in " + image;
    const std::string why =
        result.systemError ? ": " + std::system_category().message(result.systemError) : "";
    switch (result.status) {
        case kuInputNotReadable:
            return "cannot read " + image + why;
        case kuUnknownFormat:
            return image +
                   " holds no compressed kernel (no gzip, xz, lzma, bzip2, lz4 or zstd "
                   "stream in it)";
        case kuUnsupportedFormat:
            return image + " is " + format + "-compressed, which file-finder cannot unpack";
        case kuCorruptStream:
            return stream + " is corrupt";
        case kuTruncatedStream:
            return stream + " is cut off before its end";
        case kuNotElf:
            return stream + " does not unpack to an ELF kernel";
        case kuTooLarge:
            return stream + " unpacks to more than any kernel (a decompression bomb?)";
        case kuOutputNotWritable:
            return "cannot write " + output + why;
        case kuUnpacked:
            break;
    }
    return utils::describeKernelUnpack(result);
}

int runExtractKernel(const ExtractKernel& command) {
    using namespace FF_2_13;
    if (utils::isDirectory(command.output.c_str()))
        return fail(kExitBadInput, command.output + " is a directory; name the file to write");
    const std::string outputDir = utils::getFileNamePath(command.output.c_str());
    if (!outputDir.empty() && !utils::isDirectory(outputDir.c_str()))
        return fail(kExitBadInput, "the directory " + outputDir + " does not exist");
    const KernelUnpackResult result =
        utils::unpackKernelImage(command.image.c_str(), command.output.c_str());
    if (result.status != kuUnpacked)
        return fail(kExitBadInput, failureMessage(result, command.image, command.output));
    std::cout << command.output << '\n';
    return kExitAllFound;
}

}  // namespace

void addExtractKernelCommand(CLI::App& app, CommandAction& action) {
    auto command = std::make_shared<ExtractKernel>();
    CLI::App* sub = app.add_subcommand(
        "extract-kernel", "Unpack the kernel from a compressed kernel image (vmlinuz)");
    sub->add_option("VMLINUZ", command->image, "The compressed kernel image")->required();
    sub->add_option("OUT", command->output, "The file to write the kernel to")->required();
    sub->footer(
        "The kernel is the first gzip, xz, lzma, bzip2, lz4 (legacy frame) or zstd stream in\n"
        "the image that unpacks to an ELF file; a compressed module (.ko.xz, .ko.zst, .ko.gz)\n"
        "unpacks the same way. Prints the output file; when nothing could be unpacked, the\n"
        "message says why and nothing is left at OUT.\n\n"
        "Examples:\n"
        "  file-finder extract-kernel /boot/vmlinuz-6.1.0-13-amd64 /tmp/vmlinux\n"
        "  file-finder extract-kernel vmlinuz.gz ./vmlinux --log-level info\n"
        "  file-finder extract-kernel snd-hda-intel.ko.xz ./snd-hda-intel.ko\n\n"
        "Exit codes: 0 unpacked, 2 no kernel in the image (unreadable, unknown format, corrupt\n"
        "or cut-off stream) or OUT cannot be written, 3 internal error.");
    sub->callback(
        [&action, command] { action = [command] { return runExtractKernel(*command); }; });
}

}  // namespace ffcli
