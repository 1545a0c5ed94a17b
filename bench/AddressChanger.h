// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct mnl_socket;
struct nlmsghdr;

namespace quillfen::bench {

/// Gives and takes the addresses of one network interface, as fast as the kernel takes orders.
///
/// An address is an index: 10.77.1xx.1xx, which always has eleven characters, so that no address
/// is the beginning of another. All of them lie in one /16 network, so that all but the first
/// that an interface has are secondary addresses. Ends the program when the kernel refuses.
/// @source rtnetlink(7), netlink(7).
class AddressChanger {
public:
    static constexpr int kAddresses = 10'000;

    /// @p interface must exist; the caller needs CAP_NET_ADMIN in this network namespace.
    explicit AddressChanger(const char *interface);
    ~AddressChanger();

    AddressChanger(const AddressChanger &) = delete;
    AddressChanger &operator=(const AddressChanger &) = delete;

    void add(int index);
    void remove(int index);
    /// Removes @p oldIndex and adds @p newIndex with one system call. The answers stay in the
    /// socket until answers() takes them, so that they do not delay a listener that is timed.
    void swap(int oldIndex, int newIndex);
    /// Takes @p count answers of the kernel.
    void answers(int count);

private:
    nlmsghdr *request(char *room, std::uint16_t type, int index) const;
    void send(const char *bytes, std::size_t size);

    struct Close {
        void operator()(mnl_socket *socket) const;
    };
    std::unique_ptr<mnl_socket, Close> m_socket;
    unsigned m_interface; ///< The interface's index.
};

/// The address of @p index as text.
std::string addressText(int index);

} // namespace quillfen::bench
