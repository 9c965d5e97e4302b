// gentl-tool: a GenTL consumer on the command line. Loads gentl.cti with dlopen and uses the
// exported GenTL functions only.
#include <cstdio>
#include <exception>
#include <string>

#include "tcArguments.h"
#include "tcCheckXmlCommand.h"
#include "tcFeatureCommand.h"
#include "tcGrabCommand.h"
#include "tcInfoCommand.h"
#include "tcListCommand.h"
#include "tcRegisterCommand.h"
#include "tcToolError.h"
#include "tcXmlCommand.h"

namespace {

constexpr const char* kUsage = R"(usage: gentl-tool COMMAND [OPTIONS]

Commands:
  list                      interfaces, and the devices of the Simulated interface (or of the
                            one named with --interface; no other interface is searched)
  info                      library information, or that of the module the options choose
  xml [MODULE] [-o FILE]    a module's GenApi description (MODULE: system, interface, device,
                            stream or remote; default: the one the options choose)
  read ADDRESS              read a register (--size N bytes, default 4)
  write ADDRESS VALUE       write a register, then read it back
  grab                      stream frames, save some as PNG, report rates and losses
  check-xml FILE...         check GenApi description files for read cycles (nodes whose
                            value, range or availability depends on itself through pValue,
                            pMax, pVariable and the other value links); exit code 1 when a
                            file has one, 2 when a file cannot be parsed
  features [MODULE]         the feature tree of the camera or of a module (MODULE as for xml):
                            categories, types, access, values, units, ranges, entries
  get [MODULE] NAME...      read features
  set [MODULE] NAME=VALUE...
                            write features, each checked against its range, increment,
                            entries, access, lock and availability first
  run [MODULE] NAME...      execute Command features

Choosing a module (info, xml, read, write, features, get, set, run):
  (none)                    the system module (info: the library); features, get, set and
                            run: the camera, that is the remote device of the first device
  --interface ID            an interface (default for the options below: Simulated)
  --device ID               a device (default for --stream and --remote: the first one)
  --stream ID               a data stream of the device (default: the first one)
  --remote                  the remote device's port
  --port                    info: also the port information and description URLs

read and write:
  ADDRESS, N                decimal or 0x-hexadecimal
  --size N                  bytes; other sizes than 1, 2, 4 and 8 are shown as a hex dump
  VALUE                     a number (little-endian, --size 1, 2, 4 or 8, default 4) or hex
                            byte pairs such as de:ad:be:ef (any size)

features, get, set and run:
  --all                     features: also invisible features and those in no category
  --feature NAME=VALUE      set a feature of the same module first
  VALUE                     a decimal or 0x-hexadecimal number, an enumeration entry, true or
                            false, a text, hex byte pairs for a Register; a Command runs with 1

grab (the first device of Simulated, or --device ID on --interface ID):
  --count N                 frames to grab (default 10)
  --duration SECONDS        grab for a time instead
  --buffers N               buffers to announce (default 4)
  --save-every K            save frames 0, K, 2K, ... as PNG
  --save LIST               save the frames listed, such as 0,5,10-12
  --out DIR                 folder of the PNG files (default: .; alone: saves frame 0)
  --set ADDRESS=VALUE       write a remote-device register first (VALUE as for write)
  --feature NAME=VALUE      set a feature of the camera first, such as PixelFormat=RGB8 or
                            ExposureTime=5000; buffers hold the stream's payload size, else
                            the camera's PayloadSize, and a camera with AcquisitionStart and
                            AcquisitionStop is started and stopped with them
  --timeout MS              give up when no frame arrives for MS ms (default 5000)
  --quiet                   print the summary only

Everywhere:
  --cti PATH                the GenTL producer (default: $GENTL_CTI, gentl.cti beside the tool,
                            or the installed one)
  --help                    this text

The simulated camera serves $SIMCAM_XML_FILE; when it is unset, gentl-tool uses the camera file
it was installed or built with.
)";

int Run(const tcArguments& arguments) {
  const std::string& command = arguments.Command();
  if (command == "list") return tcListCommand(arguments).Run();
  if (command == "info") return tcInfoCommand(arguments).Run();
  if (command == "xml") return tcXmlCommand(arguments).Run();
  if (command == "read") return tcRegisterCommand(arguments, false).Run();
  if (command == "write") return tcRegisterCommand(arguments, true).Run();
  if (command == "grab") return tcGrabCommand(arguments).Run();
  if (command == "check-xml") return tcCheckXmlCommand(arguments).Run();
  if (command == "features" || command == "get" || command == "set" || command == "run") {
    return tcFeatureCommand(arguments).Run();
  }
  if (command.empty()) throw UsageError("no command given.");
  throw UsageError("unknown command \"" + command + "\".");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const tcArguments arguments(argc, argv);
    if (arguments.Has("--help") || arguments.Command() == "help") {
      fputs(kUsage, stdout);
      return 0;
    }
    return Run(arguments);
  } catch (const tcToolError& error) {
    fflush(stdout);
    fprintf(stderr, "gentl-tool: %s\n", error.what());
    if (error.ExitCode() == tcToolError::kUsage) {
      fprintf(stderr, "Run gentl-tool --help for usage.\n");
    }
    return error.ExitCode();
  } catch (const std::exception& error) {
    fflush(stdout);
    fprintf(stderr, "gentl-tool: %s\n", error.what());
    return tcToolError::kFailure;
  }
}
