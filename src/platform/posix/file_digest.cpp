#include "platform/digest.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

Sha256 SystemDigest::sha256(std::string_view bytes) {
    RunningSha256 running;
    running.add(bytes);
    return running.digest();
}

std::optional<Sha256> SystemDigest::sha256OfFile(const std::string& path) {
    const FileDescriptor file = openFile(path);
    RunningSha256 running;
    const bool isTaken = file && readPieces(file.get(), [&running](std::string_view piece) {
                             running.add(piece);
                             return true;
                         });
    return isTaken ? std::optional(running.digest()) : std::nullopt;
}

} // namespace korvel::platform
