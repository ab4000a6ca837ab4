// The registration record (PiPL) inside the Windows module, decoded from its
// bytes as the host reads it, against the effect's registration values: the
// same values the setup tests expect from the module's registration entry
// and global setup, so the record and the module agree.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "AE_Effect.h"
#include "windows/WindowsTestSupport.h"

namespace {

constexpr std::uint32_t FourCC(const char (&code)[5]) {
  return (std::uint32_t(std::uint8_t(code[0])) << 24) | (std::uint32_t(std::uint8_t(code[1])) << 16) |
         (std::uint32_t(std::uint8_t(code[2])) << 8) | std::uint32_t(std::uint8_t(code[3]));
}

struct Property {
  std::uint32_t vendor = 0;
  std::uint32_t key = 0;
  std::uint32_t id = 0;
  std::string payload;
};

struct PropertyList {
  std::uint16_t reserved = 0;
  std::uint32_t version = 0;
  std::uint32_t count = 0;
  std::vector<Property> properties;
  std::size_t bytesLeft = 0;  // after the last property
  std::string error;          // empty when the bytes decoded cleanly
};

// The Windows layout: a reserved 16-bit word, the list version, the count,
// then per property vendor, key, id, payload length and the payload padded to
// a multiple of four bytes. Reads are bounds-checked: a cut-short list sets
// `error`.
PropertyList Decode(std::string_view bytes) {
  PropertyList list;
  std::size_t at = 0;
  const auto read = [&](std::size_t size) -> std::uint32_t {
    if (bytes.size() - at < size) {
      list.error = "cut short at byte " + std::to_string(at);
      at = bytes.size();
      return 0;
    }
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value |= std::uint32_t(std::uint8_t(bytes[at + i])) << (8 * i);
    at += size;
    return value;
  };
  list.reserved = std::uint16_t(read(2));
  list.version = read(4);
  list.count = read(4);
  for (std::uint32_t i = 0; i < list.count && list.error.empty(); ++i) {
    Property property{read(4), read(4), read(4), {}};
    const std::uint32_t length = read(4);
    const std::size_t padded = (std::size_t{length} + 3) & ~std::size_t{3};
    if (!list.error.empty() || bytes.size() - at < padded) {
      list.error = "property " + std::to_string(i) + " cut short";
      break;
    }
    property.payload = std::string(bytes.substr(at, length));
    at += padded;
    list.properties.push_back(property);
  }
  list.bytesLeft = bytes.size() - at;
  return list;
}

std::uint32_t Word32(const std::string& payload, std::size_t offset = 0) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4 && offset + i < payload.size(); ++i) {
    value |= std::uint32_t(std::uint8_t(payload[offset + i])) << (8 * i);
  }
  return value;
}

std::uint16_t Word16(const std::string& payload, std::size_t offset) {
  return std::uint16_t(Word32(payload.substr(0, offset + 2), offset) & 0xFFFF);
}

// A Pascal string: a length byte, then the characters; the rest must be zero.
std::string PascalString(const std::string& payload) {
  if (payload.empty()) {
    return "<empty payload>";
  }
  const std::size_t length = std::uint8_t(payload[0]);
  if (length + 1 > payload.size()) {
    return "<length byte past the payload>";
  }
  for (std::size_t i = length + 1; i < payload.size(); ++i) {
    if (payload[i] != '\0') {
      return "<non-zero padding>";
    }
  }
  return payload.substr(1, length);
}

// A zero-terminated string filling the payload up to zero padding.
std::string CString(const std::string& payload) {
  const std::size_t end = payload.find('\0');
  if (end == std::string::npos) {
    return "<not terminated>";
  }
  return payload.substr(0, end);
}

const std::uint32_t kPropertyKeys[] = {FourCC("kind"), FourCC("name"), FourCC("catg"), FourCC("8664"),
                                       FourCC("ePVR"), FourCC("eSVR"), FourCC("eVER"), FourCC("eINF"),
                                       FourCC("eGLO"), FourCC("eGL2"), FourCC("eMNA"), FourCC("aeFL")};

class PiPLResource : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string_view bytes =
        wintest::ResourceBytes(wintest::PluginModule(), "PiPL", MAKEINTRESOURCEA(16000));
    ASSERT_FALSE(bytes.empty()) << "DriftSmear.aex has no resource of type PiPL, id 16000";
    list_ = Decode(bytes);
    ASSERT_EQ(list_.error, "");
    ASSERT_EQ(list_.properties.size(), std::size(kPropertyKeys));
  }

  const std::string& Payload(const char (&key)[5]) const {
    for (const auto& property : list_.properties) {
      if (property.key == FourCC(key)) {
        return property.payload;
      }
    }
    static const std::string missing = "<missing>";
    return missing;
  }

  PropertyList list_;
};

}  // namespace

TEST_F(PiPLResource, HeaderAndTheTwelvePropertiesInOrderFromVendor8BIM) {
  EXPECT_EQ(list_.reserved, 1u);
  EXPECT_EQ(list_.version, 0u);
  EXPECT_EQ(list_.count, 12u);
  EXPECT_EQ(list_.bytesLeft, 0u) << "bytes after the last property";
  for (std::size_t i = 0; i < list_.properties.size(); ++i) {
    const Property& property = list_.properties[i];
    SCOPED_TRACE("property " + std::to_string(i));
    EXPECT_EQ(property.vendor, FourCC("8BIM"));
    EXPECT_EQ(property.key, kPropertyKeys[i]);
    EXPECT_EQ(property.id, 0u);
    EXPECT_EQ(property.payload.size() % 4, 0u);
  }
}

TEST_F(PiPLResource, ValuesAreTheRegistrationValues) {
  EXPECT_EQ(Word32(Payload("kind")), 0x65464B54u);  // 'eFKT'
  EXPECT_EQ(PascalString(Payload("name")), "Drift Smear");
  EXPECT_EQ(PascalString(Payload("catg")), "Quarnbrook Graphics");
  EXPECT_EQ(CString(Payload("8664")), "EffectMain");
  EXPECT_EQ(Payload("ePVR").size(), 4u);
  EXPECT_EQ(Word16(Payload("ePVR"), 0), 2u);
  EXPECT_EQ(Word16(Payload("ePVR"), 2), 0u);
  EXPECT_EQ(Word16(Payload("eSVR"), 0), 13u);
  EXPECT_EQ(Word16(Payload("eSVR"), 2), 28u);
  EXPECT_EQ(Word32(Payload("eVER")), 0x00098001u);
  EXPECT_EQ(Word16(Payload("eINF"), 0), 0u);
  EXPECT_EQ(Word32(Payload("eGLO")), 0x06008424u);
  EXPECT_EQ(Word32(Payload("eGL2")), 0x0B001408u);
  EXPECT_EQ(PascalString(Payload("eMNA")), "KQVLDRSM");
  EXPECT_EQ(Word32(Payload("aeFL")), 8u);
}
