// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCDatagrams.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zelvane {

namespace {

std::optional<Duration> kernelTime(const msghdr& header) {
    // CMSG_NXTHDR takes no const header, though it changes nothing.
    msghdr copy = header;
    for (const cmsghdr* part = CMSG_FIRSTHDR(&copy); part != nullptr;
         part = CMSG_NXTHDR(&copy, const_cast<cmsghdr*>(part))) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMPNS) continue;
        timespec time{};
        std::memcpy(&time, CMSG_DATA(part), sizeof time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
    return std::nullopt;
}

}  // namespace

std::string OSCSender::host() const {
    std::array<char, INET_ADDRSTRLEN> text{};
    const in_addr inNetworkOrder{htonl(address)};
    inet_ntop(AF_INET, &inNetworkOrder, text.data(), text.size());
    return text.data();
}

OSCDatagrams::OSCDatagrams() : _bytes(std::make_unique_for_overwrite<std::byte[]>(kCapacity * kBytesEach)) {
    for (std::size_t index = 0; index < kCapacity; ++index) {
        _vectors[index] = {_bytes.get() + index * kBytesEach, kBytesEach};
        msghdr& header = _headers[index].msg_hdr;
        header.msg_iov = &_vectors[index];
        header.msg_iovlen = 1;
        header.msg_name = &_senders[index];
        header.msg_control = _controls[index].bytes.data();
    }
}

OSCDatagrams::Taken OSCDatagrams::take(int socket, std::size_t limit) {
    limit = std::min(limit, kCapacity);
    for (std::size_t index = 0; index < limit; ++index) {
        msghdr& header = _headers[index].msg_hdr;
        header.msg_namelen = sizeof(sockaddr_in);
        header.msg_controllen = sizeof(Control::bytes);
    }
    const int count = ::recvmmsg(socket, _headers.data(), static_cast<unsigned>(limit), MSG_DONTWAIT, nullptr);
    if (count >= 0) return {static_cast<std::size_t>(count), 0};
    const bool isNothing = errno == EAGAIN || errno == EINTR || errno == ECONNREFUSED;
    return {0, isNothing ? 0 : errno};
}

OSCDatagram OSCDatagrams::at(std::size_t index) const {
    const mmsghdr& header = _headers[index];
    const sockaddr_in& sender = _senders[index];
    return {{_bytes.get() + index * kBytesEach, header.msg_len},
            {ntohl(sender.sin_addr.s_addr), ntohs(sender.sin_port)},
            kernelTime(header.msg_hdr),
            (header.msg_hdr.msg_flags & MSG_TRUNC) != 0};
}

}  // namespace zelvane
