// SPDX-License-Identifier: GPL-2.0-or-later
// The description of an object in Storage: whatever is read is written and read again as the same.
#include <service/storage/blob_header.h>
#include <service/storage/failure.h>
#include <tests/fuzz/input.h>

void tfs::fuzz::Run(std::string_view input) {
    using namespace service::storage;
    try {
        const BlobHeader header = ParseHeader({reinterpret_cast<const std::uint8_t*>(input.data()), input.size()});
        Require(ParseHeader(FormatHeader(header)) == header);
    } catch (const Failure& failure) {
        Require(failure.Code() == ulk::eInvalidState);
    }
}
