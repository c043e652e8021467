#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

#include "platform/linux/update/bundle_manifest.h"
#include "platform/linux/update/bundle_scan.h"
#include "platform/linux/update/signing_kit.h"
#include "support/temp_tree.h"

namespace korvel::test {

/// A bundle in a folder of its own, as a release has it but for the signature, which `seal` puts
/// on.
class SignedBundle {
  public:
    SignedBundle() {
        write("Contents/Info.plist", infoPlist());
        write("Contents/Linux/korvel", "the program\n", 0755);
        write("Contents/Resources/com.oxbrook.korvel.svg", "<svg/>\n");
        std::filesystem::create_symlink("com.oxbrook.korvel.svg", file("Contents/Resources/icon"));
        std::filesystem::create_directory(file("Contents/_CodeSignature"));
        for (const char* folder :
             {".", "Contents", "Contents/Linux", "Contents/Resources", "Contents/_CodeSignature"}) {
            mode(folder, 0755);
        }
    }

    std::string path() const { return tree_.root() + "/Korvel.app"; }
    std::string file(const std::string& inside) const { return path() + "/" + inside; }

    void write(const std::string& inside, std::string_view text, mode_t bits = 0644) const {
        tree_.write("Korvel.app/" + inside, text);
        mode(inside, bits);
    }

    void mode(const std::string& inside, mode_t bits) const {
        if (::chmod(file(inside).c_str(), bits) != 0) {
            throw std::runtime_error(inside);
        }
    }

    void remove(const std::string& inside) const { tree_.remove("Korvel.app/" + inside); }

    static std::string infoPlist(const std::string& identifier = "com.oxbrook.korvel",
                                 const std::string& version = "1.4.0",
                                 const std::string& build = "42",
                                 const std::string& executable = "korvel") {
        const auto entry = [](const char* key, const std::string& value) {
            return "<key>" + std::string(key) + "</key><string>" + value + "</string>\n";
        };
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n" +
               entry("CFBundleIdentifier", identifier) +
               entry("CFBundleShortVersionString", version) + entry("CFBundleVersion", build) +
               entry("CFBundleExecutable", executable) + "</dict></plist>\n";
    }

    /// A manifest of what is there.
    platform::BundleManifest manifest() const {
        const auto found = platform::scanBundle(path());
        if (!found) {
            throw std::runtime_error("no bundle because of " + found.error().subject);
        }
        return {"com.oxbrook.korvel", "1.4.0", 42, *found};
    }

    /// Signs the text as the manifest.
    void sealText(const std::string& text, const SignatureSpec& spec) const {
        write(std::string(platform::kManifestPath), text);
        write(std::string(platform::kManifestSignaturePath), sign(text, spec));
    }

    void seal(const platform::BundleManifest& manifest, const SignatureSpec& spec) const {
        sealText(*platform::writeManifest(manifest), spec);
    }

    void seal(const SignatureSpec& spec) const { seal(manifest(), spec); }

  private:
    TempTree tree_;
};

} // namespace korvel::test
