// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <chrono>

namespace quillfen::mail {

/// What a certificate says of its server, and when.
struct CertificateWish {
    QString commonName = QStringLiteral("mail.test");
    QString alternativeNames = QStringLiteral("DNS:mail.test"); ///< As OpenSSL writes it; or empty.
    QString purpose = QStringLiteral("serverAuth");
    QString from = QStringLiteral("20200101000000Z");
    QString until = QStringLiteral("20991231235959Z");
};

/// An authority of the tests' own, which signs whatever it is asked to.
///
/// Made by the openssl command in a folder that goes with this.
class Authority {
public:
    Authority()
    {
        write(QStringLiteral("conf"), configuration());
        write(QStringLiteral("index"), {});
        openssl(QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
                               "-keyout ca.key -out ca.pem -days 3650 -config conf "
                               "-extensions authority -subj /CN=throw-away"));
    }

    /// The file to trust.
    QString file() const { return path(QStringLiteral("ca.pem")); }

    /// How a server with such a certificate, signed by this, encrypts.
    QSslConfiguration server(const CertificateWish &wish = {})
    {
        write(QStringLiteral("extensions"), extensions(wish));
        request(wish);
        openssl(QStringLiteral("ca -batch -notext -config conf -cert ca.pem -keyfile ca.key "
                               "-in request -out cert -extfile extensions "
                               "-startdate %1 -enddate %2")
                    .arg(wish.from, wish.until));
        return serverWith(QStringLiteral("cert"));
    }
    /// The same, signed by itself.
    QSslConfiguration selfSigned(const CertificateWish &wish = {})
    {
        write(QStringLiteral("extensions"), extensions(wish));
        request(wish);
        openssl(QStringLiteral(
            "x509 -req -in request -signkey key -days 30 -extfile extensions -out cert"));
        return serverWith(QStringLiteral("cert"));
    }

private:
    static QByteArray configuration()
    {
        return "[ca]\ndefault_ca=own\n[own]\ndatabase=index\nnew_certs_dir=.\ndefault_md=sha256\n"
               "policy=any\nunique_subject=no\nrand_serial=yes\n[any]\ncommonName=supplied\n"
               "[req]\ndistinguished_name=name\n[name]\n"
               "[authority]\nbasicConstraints=critical,CA:true\nsubjectKeyIdentifier=hash\n"
               "keyUsage=critical,keyCertSign\n";
    }
    static QByteArray extensions(const CertificateWish &wish)
    {
        QByteArray text = "extendedKeyUsage=" + wish.purpose.toLatin1() + '\n';
        if (!wish.alternativeNames.isEmpty())
            text += "subjectAltName=" + wish.alternativeNames.toLatin1() + '\n';
        return text;
    }

    QString path(const QString &name) const { return m_folder.filePath(name); }
    void write(const QString &name, const QByteArray &text) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("no file");
    }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("no file");
        return file.readAll();
    }
    void request(const CertificateWish &wish)
    {
        openssl(
            QStringLiteral("req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -config conf "
                           "-keyout key -out request -subj /CN=%1")
                .arg(wish.commonName));
    }
    QSslConfiguration serverWith(const QString &certificate) const
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(QSslCertificate(read(certificate)));
        configuration.setPrivateKey(QSslKey(read(QStringLiteral("key")), QSsl::Ec));
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        return configuration;
    }
    void openssl(const QString &arguments) const
    {
        QProcess process;
        process.setWorkingDirectory(m_folder.path());
        process.start(QStringLiteral("openssl"), arguments.split(u' '));
        if (!process.waitForFinished(30'000) || process.exitCode() != 0)
            qFatal("openssl %s: %s", qPrintable(arguments),
                   process.readAllStandardError().constData());
    }

    QTemporaryDir m_folder;
};

} // namespace quillfen::mail
