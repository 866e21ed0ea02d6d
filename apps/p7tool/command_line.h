#pragma once

// What the user asked for on the command line. Pure.

#include <stdexcept>
#include <string>
#include <vector>

#include "common/crypto/pkcs7_error.h"
#include "common/system/text/string.h"

namespace tarnwell::p7tool {

enum class ECommand { kInfo, kBuild, kRecover, kHelp, kVersion };

/// A certificate file and the file of its private key; both as the user wrote them.
struct KeyFiles {
    CUTF16String certificate;
    CUTF16String key;
};

struct CommandLine {
    ECommand command = ECommand::kHelp;
    CPKCS7_TYPE type = CPKCS7_TYPE::UNKNOWN;  ///< what to build
    std::vector<KeyFiles> signers;
    std::vector<CUTF16String> recipients;
    KeyFiles opener;                  ///< what recover decrypts with; empty for signed files
    std::vector<CUTF16String> files;  ///< one or more for info, the input and output otherwise
};

/// A wrong command line; what() says what is wrong and what to write instead.
class EUsage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// ParseCommandLine reads the arguments without the program's name. Options may stand anywhere
/// after the command, as "--key FILE" or "--key=FILE"; "--" ends them. Throws EUsage.
CommandLine ParseCommandLine(const std::vector<CUTF16String>& arguments);

/// HelpText is what --help prints.
std::string HelpText();

}  // namespace tarnwell::p7tool
