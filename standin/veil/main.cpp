// veil: filters picture files with the plug-in, as a host would.

#include <cstdio>
#include <exception>

#include "platform/gui_session.h"
#include "standin/veil/options.h"
#include "standin/veil/output_target.h"
#include "standin/veil/picture_file.h"
#include "standin/veil/run.h"
#include "standin/veil/system.h"

namespace {

using namespace standin;

std::unique_ptr<Plugin> loadPlugin(const Options& options) {
    const std::filesystem::path path = options.plugin.value_or(programFolder() / pluginFileName());
    try {
        return std::make_unique<Plugin>(path.string());
    } catch (const std::exception& error) {
        throw CommandError("--plugin: '" + path.string() + "' can't be loaded: " + error.what(),
                           ExitStatus::usage);
    }
}

veil::GuiSessionHolder openScreen(const Options& options, int argc, char** argv) {
    if (!options.dialog) return nullptr;
    veil::GuiSessionHolder session = veil::openGuiSession(argc, argv);
    if (!session) throw CommandError("--dialog: no screen to open the dialog on", ExitStatus::usage);
    return session;
}

ExitStatus runCommand(int argc, char** argv) {
    const CommandLine line = parseCommandLine(argc, argv);
    if (line.answer) {
        std::fputs(line.answer->c_str(), stdout);
        return ExitStatus::done;
    }
    const Options& options = line.options;
    const veil::GuiSessionHolder screen = openScreen(options, argc, argv);  // outlives the plug-in
    const PictureLibraries libraries(argv[0]);
    const std::unique_ptr<Plugin> plugin = loadPlugin(options);
    const bool folder = prepareOutputFolder(options);
    Console console = openConsole(options.quiet, options.verbose, static_cast<int>(options.inputs.size()));
    watchForInterrupt();
    const std::vector<FileReport> reports = runFiles(options, *plugin, folder, console);
    const ExitStatus status = exitStatusOf(reports);
    if (options.json) std::fputs(jsonDocument(reports, status).c_str(), stdout);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const ExitStatus status = runCommand(argc, argv);
        if (std::fflush(stdout) == 0) return static_cast<int>(status);
        throw CommandError("standard output can't be written");
    } catch (const CommandError& error) {
        std::fprintf(stderr, "veil: %s\n", error.what());
        return static_cast<int>(error.status);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "veil: %s\n", error.what());
        return static_cast<int>(ExitStatus::failed);
    }
}
