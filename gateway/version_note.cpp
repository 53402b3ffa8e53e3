// SPDX-License-Identifier: MIT
// The version of the build, for whoever holds the binary: an ELF note in the form of packaging metadata, which
// `readelf --notes` and `strings` show. It is loaded with the program, so that strip leaves it, and nothing reads it:
// the version is never part of a reply.
#include <cstdint>

namespace {

constexpr char kMetadata[] =
    R"({"type":"firmware","name":"router-endpoint","version":")" ENDPOINT_VERSION R"(","license":"MIT"})";

// As the ELF format has it, each part at a multiple of 4 bytes.
struct Note {
    uint32_t owner_size;
    uint32_t content_size;
    uint32_t type;
    char owner[4];
    alignas(4) char content[sizeof kMetadata];
};

constexpr uint32_t kPackagingMetadata = 0xCAFE1A7E;

constexpr Note make_note() {
    Note note = {0, 0, 0, "FDO", {}};
    note.owner_size = sizeof note.owner;
    note.content_size = sizeof note.content;
    note.type = kPackagingMetadata;
    for (unsigned i = 0; i < sizeof kMetadata; ++i) {
        note.content[i] = kMetadata[i];
    }
    return note;
}

// The alignment is said here, or else some compilers choose a larger one, which readers of notes refuse.
[[gnu::section(".note.package"), gnu::used]] alignas(4) constexpr Note kNote = make_note();

}  // namespace
