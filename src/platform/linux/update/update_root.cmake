# Writes SOURCE, in which the certificate of the file PEM is a string.
set(text "")
if(PEM)
    file(READ "${PEM}" text)
    # One certificate and nothing else: a private key must not end up in a program.
    if(NOT text MATCHES "^-----BEGIN CERTIFICATE-----\n[A-Za-z0-9+/=\n]+-----END CERTIFICATE-----\n$")
        message(FATAL_ERROR "${PEM} is not the text of exactly one certificate")
    endif()
endif()
file(WRITE "${SOURCE}" "#include \"platform/linux/update/update_root.h\"

namespace korvel::platform {

std::string_view builtInUpdateRoot() {
    return R\"PEM(${text})PEM\";
}

} // namespace korvel::platform
")
