// Where gentl-tool finds the GenTL producer and the default simulated camera file, in the build
// tree and in an installed tree.
#pragma once

#include <string>

// The folder holding the running executable.
std::string ExecutableDirectory();

// The producer to load: `option` (--cti) when given, else $GENTL_CTI, else gentl.cti beside the
// executable, else the installed one. Throws when `option` or $GENTL_CTI names a missing file
// or when no candidate exists.
std::string FindProducer(const std::string& option);

// When SIMCAM_XML_FILE is unset, sets it to the shipped camera file: the installed one beside
// the executable's prefix, else the one in the source tree this tool was built from.
void UseDefaultCameraFile();

// Throws a one-sentence error when SIMCAM_XML_FILE names a file that cannot be read.
void CheckCameraFile();
