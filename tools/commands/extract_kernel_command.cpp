// `extract-kernel VMLINUZ OUT`: unpacks the kernel carried in a compressed kernel image.
#include <iostream>
#include <memory>

#include <file_finder.h>

#include "commands/commands.h"
#include "core/exit_codes.h"

namespace ffcli {

namespace {

struct ExtractKernel {
    std::string image;
    std::string output;
};

int runExtractKernel(const ExtractKernel& command) {
    using namespace FF_2_13;
    if (!utils::fileExists(command.image.c_str()))
        return fail(kExitBadInput, command.image + " is not a readable file");
    if (utils::isDirectory(command.output.c_str()))
        return fail(kExitBadInput, command.output + " is a directory; name the file to write");
    const std::string outputDir = utils::getFileNamePath(command.output.c_str());
    if (!outputDir.empty() && !utils::isDirectory(outputDir.c_str()))
        return fail(kExitBadInput, "the directory " + outputDir + " does not exist");
    if (!utils::extractVmlinux(command.image.c_str(), command.output.c_str()))
        return fail(kExitBadInput, "no kernel could be unpacked from " + command.image +
                                       " (no gzip stream in it, corrupt data, or " +
                                       command.output + " cannot be written)");
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
        "The kernel is the gzip stream that starts at the first 1F 8B 08 00 in the image.\n"
        "Prints the output file; without a kernel in the image, nothing is left at OUT.\n\n"
        "Examples:\n"
        "  file-finder extract-kernel /boot/vmlinuz-6.1.0-13-amd64 /tmp/vmlinux\n"
        "  file-finder extract-kernel vmlinuz.gz ./vmlinux --log-level info\n\n"
        "Exit codes: 0 unpacked, 2 no kernel in the image or bad arguments, 3 internal error.");
    sub->callback(
        [&action, command] { action = [command] { return runExtractKernel(*command); }; });
}

}  // namespace ffcli
