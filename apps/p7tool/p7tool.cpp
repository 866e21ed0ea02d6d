#include "p7tool/p7tool.h"

#include "common/crypto/pkcs7_build.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/json/json_line.h"
#include "common/system/text/convert.h"
#include "common/system/text/exception.h"
#include "p7tool/command_line.h"
#include "p7tool/info.h"
#include "p7tool/key_files.h"
#include "version.h"

namespace tarnwell::p7tool {

namespace {

class CTool {
public:
    CTool(CommandLine line, std::FILE* out, std::FILE* err)
        : m_line(std::move(line)), m_out(out), m_err(err) {}

    int Run() {
        switch (m_line.command) {
            case ECommand::kInfo:
                return Info();
            case ECommand::kBuild:
                return Guarded(&CTool::Build);
            case ECommand::kRecover:
                return Guarded(&CTool::Recover);
            case ECommand::kVersion:
                return Print("p7tool " TARNWELL_VERSION_TEXT) ? kDone : kFailed;
            default:
                return Print(HelpText()) ? kDone : kFailed;
        }
    }

private:
    int Info() {
        int status = kDone;
        for (const CUTF16String& path : m_line.files) {
            const FileInfo info = DescribeFile(path);
            if (!info.readable) {
                Say(Named(path) + " cannot be read as a PKCS#7 file");
                status = kFailed;
            }
            if (!Print(info.json))
                return kFailed;
        }
        return status;
    }

    int Build() {
        CPKCS7Build build(m_line.type);
        for (const KeyFiles& files : m_line.signers) {
            const KeyPair signer = LoadKeyPair(files);
            build.AddSigner(signer.certificate.Get(), signer.key.Get(), EVP_sha256());
        }
        for (const CUTF16String& file : m_line.recipients)
            build.AddRecipient(LoadCertificate(file).Get());
        const CUTF16String input = m_line.files[0];
        const CUTF16String output = m_line.files.size() > 1 ? m_line.files[1] : CUTF16String();
        const CPKCS7_ERROR code = build.Build(input, output);
        if (code != CPKCS7_ERROR::NONE)
            return Fail(code, Advice(code));
        if (!build.WasWritten())
            return Fail(CPKCS7_ERROR::ERROR_WRITING_FILE,
                        "the file could not be written: is there room, and may you write there?");
        return kDone;
    }

    int Recover() {
        CUniqueX509 certificate;
        CUniqueKey key;
        if (!m_line.opener.key.IsEmpty()) {
            KeyPair pair = LoadKeyPair(m_line.opener);
            certificate = std::move(pair.certificate);
            key = std::move(pair.key);
        }
        const CUTF16String& path = m_line.files[0];
        CPKCS7Request file(path);
        if (!key && file->IsEnveloped())
            return Fail(kNotReadable, Named(path) +
                                          " is encrypted: give --cert and --key of one "
                                          "of its recipients");
        const CPKCS7_ERROR code = file->Recover(certificate.Get(), key.Release());
        if (code == CPKCS7_ERROR::NONE && !file->WasWritten())
            return NothingWritten(*file);
        return code == CPKCS7_ERROR::NONE ? kDone : Fail(code, Advice(code));
    }

    int NothingWritten(CPKCS7& file) {
        const std::size_t dot = file.Path().FindLast(u'.');
        if (dot == CUTF16String::npos || dot == 0) {
            Say("nothing was written: " + Named(file.Path()) +
                " has no extension to take off; rename it, for example to end in .p7");
            return kDone;
        }
        if (file.IsOnlySigned() && !file.GetContentDigest()) {
            Say("nothing was written: " + Named(file.Path()) + " encloses no content, it signs " +
                Named(file.Path().Sub(0, dot)));
            return kDone;
        }
        return Fail(CPKCS7_ERROR::ERROR_WRITING_FILE | CPKCS7_ERROR::ERROR_RECOVER,
                    Named(file.Path().Sub(0, dot)) +
                        " could not be written: is there room, and may you write there?");
    }

    /// Carries a command out and tells what went wrong in it.
    int Guarded(int (CTool::*command)()) {
        try {
            return (this->*command)();
        } catch (CPKCS7_ERROR code) {
            return Fail(code, Advice(code));
        } catch (const EKeyFile& error) {
            return Fail(error.Code(), error.what());
        } catch (const CException& error) {
            return Fail(CPKCS7_ERROR::CANNOT_OPEN_FILE, error.what());
        }
    }

    std::string Advice(CPKCS7_ERROR code) const {
        const std::string name = Named(m_line.files[0]);
        if (code == CPKCS7_ERROR::CANNOT_OPEN_FILE)
            return name + " cannot be opened: does it exist, and may you read it?";
        if (code == kNotReadable)
            return name + (m_line.opener.key.IsEmpty()
                               ? " is no PKCS#7 file in DER, or its content cannot be opened"
                               : " does not open with this certificate and key");
        if (code == CPKCS7_ERROR::ERROR_OPENSSL)
            return "a certificate or key does not fit: signers need RSA or EC keys, recipients "
                   "RSA certificates";
        return name +
               " cannot be put into a PKCS#7 file: is it larger than 1.5 GB, or memory short?";
    }

    int Fail(CPKCS7_ERROR code, const std::string& message) {
        Say(message);
        Print(CJsonObject()
                  .Add("error", static_cast<std::uint64_t>(code))
                  .Add("errorNames", ErrorNames(code).AsView())
                  .Text());
        return kFailed;
    }

    static std::string Named(const CUTF16String& path) {
        return "'" + std::string(Utf8FromUtf16(path.AsView()).AsView()) + "'";
    }

    bool Print(const std::string& line) {
        return std::fputs((line + "\n").c_str(), m_out) >= 0 && std::fflush(m_out) == 0;
    }
    void Say(const std::string& message) {
        static_cast<void>(std::fputs(("p7tool: " + message + "\n").c_str(), m_err));
    }

    static constexpr CPKCS7_ERROR kNotReadable =
        CPKCS7_ERROR::ERROR_OPENSSL | CPKCS7_ERROR::ERROR_RECOVER;

    CommandLine m_line;
    std::FILE* m_out;
    std::FILE* m_err;
};

}  // namespace

int Run(const std::vector<CUTF16String>& arguments, std::FILE* out, std::FILE* err) {
    try {
        return CTool(ParseCommandLine(arguments), out, err).Run();
    } catch (const EUsage& error) {
        static_cast<void>(std::fprintf(err, "p7tool: %s\nTry: p7tool --help\n", error.what()));
        return kWrongUsage;
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(err, "p7tool: %s\n", error.what()));
        return kFailed;
    }
}

}  // namespace tarnwell::p7tool
