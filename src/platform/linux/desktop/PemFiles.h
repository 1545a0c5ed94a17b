// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <filesystem>
#include <set>

namespace quillfen::platform {

/// Certificates as they stand in PEM files, each from its first dash to its last, none twice.
using PemCertificates = std::set<QByteArray>;

/// How much of a file is read. All the authorities of a system come to a quarter of a mebibyte.
constexpr qsizetype kMostPemBytes = 16 * 1024 * 1024;

/// The certificates in @p text, whatever is between them. Total for any bytes.
/// @source RFC 7468 sections 3 and 5.
PemCertificates pemCertificates(const QByteArray &text);

/// The certificates in the file @p path; none where it cannot be read. Waits for the file, which
/// for a pipe or a dead server may be for ever. On any thread.
PemCertificates pemCertificatesIn(const std::filesystem::path &path);

/// The certificates of the system's authorities, as they lie in the folders and files where
/// distributions keep them. Waits for the disk. On any thread.
PemCertificates systemPemCertificates();

} // namespace quillfen::platform
