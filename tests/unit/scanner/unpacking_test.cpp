// SPDX-License-Identifier: GPL-2.0-or-later
// Archives with parts that the engine doesn't see: it says nothing of most of them, and clean would be a lie.
#include <tests/unit/scanner/scan_files.h>
#include <tests/unit/scanner/scan_harness.h>

#include <cstdint>
#include <gtest/gtest.h>

namespace tfs::test {
namespace {

constexpr std::uint16_t Lzma = 14; ///< a method of zip that the engine doesn't know

std::string Bytes(std::uint64_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    return out;
}

/// A cabinet with one member of `blocks` times 32 KiB of the letter z.
std::string Cabinet(std::uint32_t blocks) {
    // What deflate makes of one block.
    const std::string packed =
        std::string("CK\xed\xc1\x01\x01\0\0\0\x80\x90\xdf\xad\xef\x08\x0a", 16) + std::string(31, '\0') + '\x18';
    constexpr std::uint32_t BlockSize = 32768;
    const std::string name = std::string("zeros") + '\0';
    const std::uint32_t folderAt = 36;
    const std::uint32_t fileAt = folderAt + 8;
    const auto dataAt = static_cast<std::uint32_t>(fileAt + 16 + name.size());
    std::string data;
    for (std::uint32_t i = 0; i < blocks; ++i)
        data += Bytes(0, 4) + Bytes(packed.size(), 2) + Bytes(BlockSize, 2) + packed;
    return "MSCF" + Bytes(0, 4) + Bytes(dataAt + data.size(), 4) + Bytes(0, 4) + Bytes(fileAt, 4) + Bytes(0, 4) +
           Bytes(0x0103, 2) + Bytes(1, 2) + Bytes(1, 2) + Bytes(0, 6) + // one folder, one file
           Bytes(dataAt, 4) + Bytes(blocks, 2) + Bytes(1, 2) +          // packed by deflate
           Bytes(std::uint64_t{blocks} * BlockSize, 4) + Bytes(0, 4) + Bytes(0, 2) + Bytes(33, 2) + Bytes(0, 2) +
           Bytes(32, 2) + name + data;
}

class Unpacking : public testing::Test {
protected:
    static ScannerConfig Config() {
        ScannerConfig config = TestConfig();
        config.maxFileSize = 1 << 20;
        return config;
    }
    void Scan() {
        m_scan = std::make_unique<RunningScan>(m_scanner.Service(), Area(m_folder.Path()));
        m_result = m_scan->Result();
    }
    std::string ReasonOf(const std::string& path) const { return m_scan->Observer().ReasonOf(path); }

    const TemporaryFolder m_folder;
    Scanner m_scanner{Config()};
    std::unique_ptr<RunningScan> m_scan;
    ScanResult m_result;
};

TEST_F(Unpacking, WhatCantBeUnpackedIsNotClean) {
    m_folder.Write("e.com", TestThreat());
    RunCommand("cd '" + m_folder.Path() +
               "' && zip -q stream.zip - < e.com && xz -k e.com && head -c 500000 /dev/urandom > noise" +
               " && zip -q -fz large-format.zip e.com && xz -k noise && rm e.com noise");
    const std::string whole = Zip({{"a", "content"}, {"e.com", TestThreat()}, {"b", std::string(1000, 'b')}});
    const std::string unknown = Zip({{"a.txt", "clean content"}}) + Zip({{"e.com", TestThreat()}}, Lzma);
    const std::string streamed = Contents(m_folder / "stream.zip");
    const std::string unpackable[] = {
        m_folder.Write("cut.zip", whole.substr(0, 60)),
        m_folder.Write("inside.zip", Zip({{"a", "content"}, {"cut.zip", whole.substr(0, 60)}})),
        m_folder.Write("method.zip", Zip({{"e.com", TestThreat()}}, Lzma)),
        m_folder.Write("behind-program",
                       "#!/bin/sh\nexit 0\n" + std::string(500, '#') + Zip({{"e.com", TestThreat()}}, Lzma)),
        m_folder.Write("cut.7z", std::string("7z\xbc\xaf\x27\x1c\0\4", 8) + std::string(92, '\1')),
        m_folder.Write("archive.rar", std::string("Rar!\x1a\x07\x01\0", 8) + std::string(500, '\3')),
        m_folder.Write("cut.xz", Contents(m_folder / "noise.xz").substr(0, 100000)),
        m_folder.Write("cut.cab", Cabinet(3).substr(0, 80)),
    };
    const std::string harmless[] = {
        m_folder.Write("folders.zip", Zip({{"empty/", ""}, {"nothing", ""}, {"four", "1234"}})),
        m_folder.Write("knows-zip", "\x7f"
                                    "ELF" +
                                        std::string(500, '\1') + std::string("PK\3\4", 4) + std::string(26, '\x85') +
                                        std::string(500, '\1')),
        m_folder.Write("whole.cab", Cabinet(3)),
        m_folder / "noise.xz",
    };
    Scan();
    for (const std::string& path : unpackable)
        EXPECT_EQ(ReasonOf(path), "can't be unpacked") << path;
    for (const std::string& path : harmless)
        EXPECT_EQ(ReasonOf(path), "") << path;
    for (const char* name : {"large-format.zip", "stream.zip"}) // which the engine may come to know
        EXPECT_FALSE(ReasonOf(m_folder / name).empty() && m_scan->Observer().ThreatOf(m_folder / name).empty()) << name;
    EXPECT_EQ(m_scan->Observer().ThreatOf(m_folder / "e.com.xz"), "EICAR-Test-File");
}

TEST_F(Unpacking, PartsThatAreCutAtTheLimitAreNotClean) {
    const std::string cabinet = m_folder.Write("large.cab", Cabinet(40));
    m_folder.Write("word/document.xml", "<xml>" + std::string(2 << 20, 'a') + "</xml>");
    m_folder.Write("[Content_Types].xml",
                   "<Types xmlns='http://schemas.openxmlformats.org/package/2006/content-types'/>");
    m_folder.Write("stub", "#!/bin/sh\nexit 0\n" + std::string(500, '#'));
    RunCommand("cd '" + m_folder.Path() + "' && zip -q large.docx '[Content_Types].xml' word/document.xml && " +
               "zip -q large.zip word/document.xml && cat stub large.zip > behind-program && " +
               "rm -r word large.zip '[Content_Types].xml' stub");
    Scan();
    for (const std::string& path : {cabinet, m_folder / "large.docx", m_folder / "behind-program"})
        EXPECT_EQ(ReasonOf(path), "over a limit") << path;
    EXPECT_EQ(m_result.counters.scannedObjects, 0u);
}

/// A document of one empty page.
std::string Document() {
    const std::string objects[] = {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                   "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 100 100] /Contents 4 0 R >>",
                                   "<< /Length 9 >>\nstream\n0 0 m 9 l\nendstream"};
    std::string out = "%PDF-1.4\n";
    std::string table = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < std::size(objects); ++i) {
        const std::string at = std::to_string(out.size());
        table += std::string(10 - at.size(), '0') + at + " 00000 n \n";
        out += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    return out + "xref\n0 5\n" + table + "trailer << /Size 5 /Root 1 0 R >>\nstartxref\n" + std::to_string(out.size()) +
           "\n%%EOF\n";
}

TEST_F(Unpacking, WhatIsEncryptedIsNotProcessed) {
    m_folder.Write("e.com", TestThreat());
    m_folder.Write("plain.pdf", Document());
    RunCommand("cd '" + m_folder.Path() +
               "' && zip -q -P secret old.zip e.com && 7zz a -psecret -tzip -mem=AES256 new.zip e.com >/dev/null && " +
               "7zz a -psecret part.7z e.com >/dev/null && 7zz a -psecret -mhe=on whole.7z e.com >/dev/null && " +
               "rm e.com && qpdf --encrypt secret secret 256 -- plain.pdf new.pdf && " +
               "qpdf --allow-weak-crypto --encrypt secret secret 40 -- plain.pdf old.pdf");
    Scan();
    constexpr const char* Encrypted[] = {"old.zip", "new.zip", "part.7z", "whole.7z", "new.pdf", "old.pdf"};
    for (const char* name : Encrypted)
        EXPECT_EQ(ReasonOf(m_folder / name), "encrypted") << name;
    EXPECT_EQ(ReasonOf(m_folder / "plain.pdf"), "");
    EXPECT_EQ(m_result.counters.encrypted, std::size(Encrypted));
    EXPECT_EQ(m_result.counters.scannedObjects, 1u);
}

} // namespace
} // namespace tfs::test
