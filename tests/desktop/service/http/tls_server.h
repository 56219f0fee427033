// An HTTPS server whose certificate nobody vouches for, unless SSL_CERT_FILE names it.
#ifndef ZUV_TESTS_DESKTOP_SERVICE_HTTP_TLS_SERVER_H
#define ZUV_TESTS_DESKTOP_SERVICE_HTTP_TLS_SERVER_H

#include "launcher/temporary_folder.h"
#include "support/processes.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// `openssl s_server` with a self-signed certificate, serving the files of a folder.
class TlsServer {
public:
    explicit TlsServer(const TemporaryFolder& folder) : m_folder(folder.path()) {
        const std::string make = "cd " + m_folder.string() +
                                 " && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
                                 " -subj /CN=test -addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out cert.pem"
                                 " 2>/dev/null";
        if (std::system(make.c_str()) != 0)
            return;
        m_process.emplace(std::vector<std::string>{
            "sh", "-c",
            "cd " + m_folder.string() +
                " && exec openssl s_server -accept 127.0.0.1:0 -WWW -cert cert.pem -key key.pem 2>&1"});
        for (std::string line = "x"; !line.empty() && m_port.empty();) {
            line = m_process->readLine();
            if (line.starts_with("ACCEPT "))
                m_port = line.substr(line.rfind(':') + 1);
        }
    }
    ~TlsServer() {
        if (m_process)
            static_cast<void>(sendSignal(m_process->process(), SIGKILL));
    }

    bool runs() const { return !m_port.empty(); } ///< not without the program openssl
    std::string url() const { return "https://127.0.0.1:" + m_port + "/film.webm"; }
    std::string certificate() const { return m_folder / "cert.pem"; }

private:
    const std::filesystem::path m_folder;
    std::optional<Launched> m_process;
    std::string m_port;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_HTTP_TLS_SERVER_H
