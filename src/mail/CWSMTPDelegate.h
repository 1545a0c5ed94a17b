// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillfen::mail {

class CWSMTP;

/// What an SMTP client hands to its delegate with each call.
struct CWNotification {
    CWSMTP &object; ///< The client that calls.
};

/// Who is told how an SMTP client's session goes on.
///
/// The calls come one at a time, on the main thread, from the run loop and never from within a
/// call to the client. Exactly one of connectionLost(), connectionTimedOut() and
/// connectionTerminated() is the last. In each the delegate may give the client its next order.
class CWSMTPDelegate {
public:
    virtual ~CWSMTPDelegate() = default;

    /// The server is reached; it has not said anything yet.
    virtual void connectionEstablished(const CWNotification &notification) = 0;
    /// The server greeted and told what it can do; once more after startTLS().
    virtual void serviceInitialized(const CWNotification &notification) = 0;
    /// The server accepted the login.
    virtual void authenticationCompleted(const CWNotification &notification) = 0;
    /// The login was refused, or could not be tried. Nothing was sent.
    virtual void authenticationFailed(const CWNotification &notification) = 0;
    /// The server took the message on.
    virtual void messageSent(const CWNotification &notification) = 0;
    /// The message was not sent: the server refused it or a step before it (the greeting and the
    /// upgrade to TLS included), or it cannot be sent at all.
    virtual void messageNotSent(const CWNotification &notification) = 0;
    /// The server cannot be reached, went away, cannot be trusted or speaks no SMTP.
    virtual void connectionLost(const CWNotification &notification) = 0;
    /// A stage took longer than it may.
    virtual void connectionTimedOut(const CWNotification &notification) = 0;
    /// The session is closed as it was asked to, or by the server's own word.
    virtual void connectionTerminated(const CWNotification &notification) = 0;
};

} // namespace quillfen::mail
