// SPDX-License-Identifier: GPL-3.0-or-later
//
// Nothing here uses more of Qt than its byte arrays: it may still run, on a thread that nobody
// waits for, while the process ends and Qt is taken down.
#include "platform/linux/desktop/PemFiles.h"

#include <algorithm>
#include <array>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace quillfen::platform {

namespace {

constexpr qsizetype kPieceBytes = 64 * 1024;

// Where Qt looks as well, as far as it concerns Linux.
constexpr std::array kFolders{
    "/etc/ssl/certs", "/usr/lib/ssl/certs", "/usr/share/ssl", "/usr/local/ssl/certs",
    "/usr/local/ssl", "/etc/openssl/certs", "/etc/ssl"};
constexpr const char *kBundle = "/etc/pki/tls/certs/ca-bundle.crt"; // Fedora's

QByteArray contents(const std::filesystem::path &path)
{
    QByteArray bytes;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return bytes;
    ssize_t got = 0;
    do {
        const qsizetype before = bytes.size();
        bytes.resize(std::min(before + kPieceBytes, kMostPemBytes));
        got = read(file, bytes.data() + before, std::size_t(bytes.size() - before));
        bytes.resize(before + std::max<ssize_t>(got, 0));
    } while (got > 0);
    close(file);
    return bytes;
}

bool isPemFile(const std::filesystem::directory_entry &entry)
{
    const std::filesystem::path extension = entry.path().extension();
    std::error_code error;
    return (extension == ".pem" || extension == ".crt") && entry.is_regular_file(error);
}

} // namespace

PemCertificates pemCertificates(const QByteArray &text)
{
    static constexpr QByteArrayView kBegin = "-----BEGIN CERTIFICATE-----";
    static constexpr QByteArrayView kEnd = "-----END CERTIFICATE-----";
    PemCertificates certificates;
    qsizetype end = 0;
    for (;;) {
        const qsizetype begin = text.indexOf(kBegin, end);
        end = begin < 0 ? -1 : text.indexOf(kEnd, begin);
        if (end < 0)
            return certificates;
        end += kEnd.size();
        certificates.insert(text.sliced(begin, end - begin));
    }
}

PemCertificates pemCertificatesIn(const std::filesystem::path &path)
{
    return pemCertificates(contents(path));
}

PemCertificates systemPemCertificates()
{
    PemCertificates certificates = pemCertificatesIn(kBundle);
    for (const char *folder : kFolders) {
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator(folder, error)) {
            if (isPemFile(entry))
                certificates.merge(pemCertificatesIn(entry.path()));
        }
    }
    return certificates;
}

} // namespace quillfen::platform
