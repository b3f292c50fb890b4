#include "platform/registry_text.h"
#include "platform/unicode.h"
#include "support/long_tests.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

using platform::RegistryText;

namespace {

constexpr std::string_view kKey = "HKEY_CURRENT_USER\\Software\\Orvane";
constexpr std::string_view kSection = "[HKEY_CURRENT_USER\\Software\\Orvane]\n";

std::optional<uint32_t> ReadFrom(std::string_view bytes, std::string_view name = "A")
{
    return RegistryText::FromBytes(bytes).Read(kKey, name);
}

std::string Utf16Bytes(std::u16string_view units, bool littleEndian)
{
    std::string bytes;
    for (const char16_t unit : units) {
        const char low = static_cast<char>(unit & 0xFF), high = static_cast<char>(unit >> 8);
        bytes += littleEndian ? low : high;
        bytes += littleEndian ? high : low;
    }
    return bytes;
}

std::string Written(std::string_view bytes, std::string_view name, uint32_t value)
{
    RegistryText text = RegistryText::FromBytes(bytes);
    text.Write(kKey, name, value);
    return text.ToBytes();
}

std::string Deleted(std::string_view bytes, std::string_view name)
{
    RegistryText text = RegistryText::FromBytes(bytes);
    text.Delete(kKey, name);
    return text.ToBytes();
}

} // namespace

TEST(RegistryText, DataOfEveryFormReadsAsItsBytes)
{
    struct Row {
        const char* line;
        std::optional<uint32_t> value;
    };
    constexpr std::nullopt_t absent = std::nullopt;
    const Row rows[] = {
        {"\"A\"=dword:00000004", 4},
        {"\"A\"=dword:ffffffff", 0xFFFFFFFF},
        {"\"A\"=dword:FfAa0010", 0xFFAA0010},
        {"\"A\"=dword:7", 7},
        {"\"a\"=dword:7", 7},
        {"  \t\"A\" =\t dword:7  ", 7},
        {"\"A\"=DWORD:7", 7},
        {"\"A\"=dword:7 ; seven", 7},
        {"\"A\"=dword:7;seven", 7},
        {"\"A\"=dword:", absent},
        {"\"A\"=dword: 7", absent},
        {"\"A\"=dword:000000001", absent},
        {"\"A\"=dword:100000000", absent},
        {"\"A\"=dword:-1", absent},
        {"\"A\"=dword:0x1", absent},
        {"\"A\"=dword:12g", absent},
        {"\"A\"=dword:12 34", absent},
        {"\"A\"=dword", absent},
        {"\"A\"=", absent},
        {"\"A\"", absent},
        {"\"A=dword:00000004", absent},
        {"A=dword:00000004", absent},
        {"; \"A\"=dword:00000004", absent},
        {"\"A\"=qword:0000000000000004", absent},
        {"\"A\"=hex:01", 1},
        {"\"A\"=hex:01,02", 0x0201},
        {"\"A\"=hex:01,02,03", 0x030201},
        {"\"A\"=hex:01,02,03,ff", 0xFF030201},
        {"\"A\"=hex:1,2", 0x0201},
        {"\"A\"=hex: 01 , 02 ", 0x0201},
        {"\"A\"=hex:", 0},
        {"\"A\"=hex:01,02,03,04,05", absent},
        {"\"A\"=hex:01,02,03,04,00", absent},
        {"\"A\"=hex:01,02,", absent},
        {"\"A\"=hex:01,,02", absent},
        {"\"A\"=hex:123", absent},
        {"\"A\"=hex:0g", absent},
        {"\"A\"=hex:01 02", absent},
        {"\"A\"=hex(4):07,00,00,00", 7},
        {"\"A\"=hex(0):07", 7},
        {"\"A\"=hex(b):07,00,00,00,00,00,00,00", absent},
        {"\"A\"=hex():07", absent},
        {"\"A\"=hex(4:07", absent},
        {"\"A\"=hex(4)07", absent},
        {"\"A\"=\"\"", 0},
        {"\"A\"=\"4\"", 0x34},
        {"\"A\"=\"abc\"", 0x636261},
        {"\"A\"=\"\\\\\\\"\"", 0x225C},
        {"\"A\"=\"abcd\"", absent},
        {"\"A\"=\"4", absent},
        {"\"A\"=\"4\" 5", absent},
        {"\"A\"=-", absent},
    };
    for (const Row& row : rows) {
        for (const char* end : {"", "\n", "\r\n", "\n\"B\"=dword:00000009\n"}) {
            EXPECT_EQ(ReadFrom(std::string(kSection) + row.line + end), row.value) << row.line;
        }
        EXPECT_EQ(ReadFrom(std::string(kSection) + row.line + "\n\"B\"=dword:00000009\n", "B"), 9U)
            << row.line;
    }
}

TEST(RegistryText, BytesGoOnInTheNextLine)
{
    const std::string section(kSection);
    for (const std::string end : {"\n", "\r\n", " \t\n"}) {
        const std::string text = section + "\"A\"=hex:01,\\" + end + "  02,03,\\" + end + "  04" + end;
        EXPECT_EQ(ReadFrom(text), 0x04030201U);
        EXPECT_EQ(ReadFrom(text + "\"B\"=dword:00000009", "B"), 9U);
        EXPECT_EQ(Deleted(text, "A"), section);
        EXPECT_EQ(Written(text, "B", 9),
                  "Windows Registry Editor Version 5.00\n\n" + text + "\"B\"=dword:00000009\n");
    }
    // Nothing follows, or what follows belongs to the bytes and is none.
    EXPECT_EQ(ReadFrom(section + "\"A\"=hex:01\\"), std::nullopt);
    EXPECT_EQ(ReadFrom(section + "\"A\"=hex:01,\\\n\"B\"=dword:1\n", "B"), std::nullopt);
    // A comment, a string and a number go on in no line.
    EXPECT_EQ(ReadFrom(section + "\"A\"=hex:01 ; C:\\\n\"B\"=dword:1\n", "B"), 1U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=\"C:\\\n\"B\"=dword:1\n", "B"), 1U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\\\n\"B\"=dword:1\n", "B"), 1U);
}

TEST(RegistryText, LinesOfOtherKeysSayNothing)
{
    const std::string value = "\"A\"=dword:00000001\n";
    EXPECT_EQ(ReadFrom(value), std::nullopt);
    EXPECT_EQ(ReadFrom("[HKEY_CURRENT_USER\\Software]\n" + value), std::nullopt);
    EXPECT_EQ(ReadFrom("[HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2]\n" + value), std::nullopt);
    EXPECT_EQ(ReadFrom("[HKEY_CURRENT_USER\\Software\\Orvane2]\n" + value), std::nullopt);
    EXPECT_EQ(ReadFrom("[HKEY_LOCAL_MACHINE\\Software\\Orvane]\n" + value), std::nullopt);
    EXPECT_EQ(ReadFrom(std::string(kSection) + "[]\n" + value), std::nullopt);
    EXPECT_EQ(ReadFrom("[HKEY_CURRENT_USER\\Software\\Orvane\n" + value), std::nullopt);
    EXPECT_EQ(ReadFrom("[hkey_current_user\\SOFTWARE\\orvane] ; ours\n" + value), 1U);
    EXPECT_EQ(ReadFrom("  " + std::string(kSection) + value), 1U);
}

TEST(RegistryText, LaterLinesWinAndMalformedOnesSayNothing)
{
    const std::string section(kSection);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n\"a\"=dword:2\n"), 2U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n\"A\"=dword:\n"), 1U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n\"A\"=hex:1,2,3,4,5\n"), std::nullopt);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n\"A\"=-\n"), std::nullopt);
    EXPECT_EQ(ReadFrom(section + "\"A\"=-\n\"A\"=dword:1\n"), 1U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n\"A\"=- ; gone\n"), std::nullopt);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n\"A\"=-1\n"), 1U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n[X]\n\"A\"=dword:2\n" + section + "\"B\"=dword:3\n"), 1U);
    EXPECT_EQ(ReadFrom(section + "\"A\"=dword:1\n[X]\n" + section + "\"A\"=dword:3\n"), 3U);
}

TEST(RegistryText, RemovedKeysTakeTheirValuesAndTheKeysBelowWithThem)
{
    const std::string filled = std::string(kSection) + "\"A\"=dword:1\n";
    EXPECT_EQ(ReadFrom(filled + "[-HKEY_CURRENT_USER\\Software\\Orvane]\n"), std::nullopt);
    EXPECT_EQ(ReadFrom(filled + "[-hkey_current_user\\software]\n"), std::nullopt);
    EXPECT_EQ(ReadFrom(filled + "[-HKEY_CURRENT_USER\\Software\\Orvane]\n\"A\"=dword:2\n"), std::nullopt);
    EXPECT_EQ(ReadFrom(filled + "[-HKEY_CURRENT_USER\\Software\\Orvane]\n" + filled), 1U);
    EXPECT_EQ(ReadFrom(filled + "[-HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2]\n"), 1U);
    EXPECT_EQ(ReadFrom(filled + "[-HKEY_CURRENT_USER\\Soft]\n"), 1U);
    EXPECT_EQ(ReadFrom(filled + "[-HKEY_CURRENT_USER\\Software\\Orvane2]\n"), 1U);
}

TEST(RegistryText, NamesMayHoldQuotesBackslashesAndNothing)
{
    const std::string section(kSection);
    EXPECT_EQ(ReadFrom(section + "\"a\\\\b\\\"c\"=dword:5\n", "a\\b\"c"), 5U);
    EXPECT_EQ(ReadFrom(section + "\"a;b]=c\"=dword:5\n", "a;b]=c"), 5U);
    EXPECT_EQ(ReadFrom(section + "\"a\\n\"=dword:5\n", "a\\n"), 5U);
    EXPECT_EQ(ReadFrom(section + "@=dword:5\n", ""), 5U);
    EXPECT_EQ(ReadFrom(section + "\"\"=dword:5\n", ""), 5U);
    for (const std::string name : {"a\\b\"c", "a;b]=c", "a\\n", "", "\\", "\"", "\\\"", " x ", "\xC3\xA4"})
        EXPECT_EQ(ReadFrom(Written("", name, 7), name), 7U) << name;
}

TEST(RegistryText, ANewFileHasHeadingSectionAndValues)
{
    RegistryText text = RegistryText::FromBytes("");
    text.Write("HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2", "NumEncodeThreads", 4);
    text.Write("HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2", "InputColorSpace", 0xFFFFFFFF);
    text.Write("HKEY_CURRENT_USER\\Software\\Orvane", "SuggestRGB", 0xA0);
    EXPECT_EQ(text.ToBytes(), "Windows Registry Editor Version 5.00\n"
                              "\n"
                              "[HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2]\n"
                              "\"NumEncodeThreads\"=dword:00000004\n"
                              "\"InputColorSpace\"=dword:ffffffff\n"
                              "\n"
                              "[HKEY_CURRENT_USER\\Software\\Orvane]\n"
                              "\"SuggestRGB\"=dword:000000a0\n");
}

TEST(RegistryText, EditsKeepAllOtherLinesAsTheyStand)
{
    const std::string before = "Windows Registry Editor Version 5.00\r\n"
                               "; a remark\r\n"
                               "stray text \xFF\x80\r\n"
                               "[HKEY_CURRENT_USER\\Software\\ORVANE]\r\n"
                               "\"Path\"=\"C:\\\\x\"\r\n"
                               "  \"a\"=hex:01,02,03,\\\r\n  04,05 ; long\r\n"
                               "\"Odd\"=quark:1\r\n"
                               "\r\n"
                               "[HKEY_CURRENT_USER\\Software\\Else]\r\n"
                               "\"A\"=dword:00000001";
    std::string after = before;
    const std::string old = "  \"a\"=hex:01,02,03,\\\r\n  04,05 ; long\r\n";
    after.replace(after.find(old), old.size(), "\"A\"=dword:00000007\r\n");
    EXPECT_EQ(Written(before, "A", 7), after);

    std::string without = before;
    without.erase(without.find(old), old.size());
    EXPECT_EQ(Deleted(before, "A"), without);
    EXPECT_EQ(Deleted(before, "Missing"), before);

    std::string longer = before;
    const std::string last = "\"Odd\"=quark:1\r\n";
    longer.insert(longer.find(last) + last.size(), "\"B\"=dword:00000002\r\n");
    EXPECT_EQ(Written(before, "B", 2), longer);
}

TEST(RegistryText, AnEditHasTheLastWord)
{
    const std::string heading = "Windows Registry Editor Version 5.00\n";
    const std::string section(kSection);
    const std::string bodies[] = {
        section + "\"A\"=dword:1\n\"A\"=dword:2\n",
        section + "\"A\"=dword:1\n\"A\"=-\n",
        section + "\"A\"=dword:1\n\"A\"=dword:\n",
        section + "\"A\"=dword:1\n[X]\n" + section + "\"A\"=-\n[Y]\n",
        section + "\"A\"=dword:1\n[-HKEY_CURRENT_USER\\Software]\n",
        section + "\"A\"=dword:1\n[-HKEY_CURRENT_USER\\Software]\n" + section,
        section,
        "[-HKEY_CURRENT_USER\\Software\\Orvane]",
    };
    for (const std::string& body : bodies) {
        EXPECT_EQ(ReadFrom(Written(heading + body, "A", 77)), 77U) << body;
        EXPECT_EQ(ReadFrom(Deleted(heading + body, "A")), std::nullopt) << body;
        EXPECT_EQ(ReadFrom(Deleted(Written(body, "A", 77), "A")), std::nullopt) << body;
    }
}

TEST(RegistryText, TheListHasWhatReadingGives)
{
    const std::string text = std::string(kSection) +
                             "\"B\"=dword:1\n\"A\"=dword:2\n\"b\"=dword:3\n\"Gone\"=dword:4\n"
                             "\"gone\"=-\n\"Long\"=hex:1,2,3,4,5\n\"Bad\"=dword:\n"
                             "\"Back\"=-\n\"Back\"=hex:05\n[X]\n\"C\"=dword:6\n";
    const auto values = RegistryText::FromBytes(text).List(kKey);
    ASSERT_EQ(values.size(), 3U);
    EXPECT_EQ(values[0].name, "B");
    EXPECT_EQ(values[0].value, 3U);
    EXPECT_EQ(values[1].name, "A");
    EXPECT_EQ(values[1].value, 2U);
    EXPECT_EQ(values[2].name, "Back");
    EXPECT_EQ(values[2].value, 5U);
}

TEST(RegistryText, EveryEncodingIsReadAndKept)
{
    const std::u16string text = u"\r\n[HKEY_CURRENT_USER\\Software\\Orvane]\r\n\"A\"=dword:0000000c\r\n"
                                u"; \u00E4 \u20AC \U0001F600 \xD800 lone \xDC00\r\n";
    const std::string plain = platform::Utf8FromUtf16(text);
    const std::string forms[] = {
        plain,
        "\xEF\xBB\xBF" + plain,
        "\xFF\xFE" + Utf16Bytes(text, true),
        "\xFE\xFF" + Utf16Bytes(text, false),
    };
    for (const std::string& bytes : forms) {
        EXPECT_EQ(ReadFrom(bytes), 12U);
        EXPECT_EQ(RegistryText::FromBytes(bytes).ToBytes(), bytes);
        const std::string edited = Written(bytes, "B", 13);
        EXPECT_EQ(edited.substr(0, 2), bytes.substr(0, 2) == "\r\n" ? "Wi" : bytes.substr(0, 2));
        EXPECT_EQ(ReadFrom(edited, "A"), 12U);
        EXPECT_EQ(ReadFrom(edited, "B"), 13U);
    }
    EXPECT_EQ(ReadFrom("\xFF\xFE" + Utf16Bytes(text, true) + "x"), 12U); // half a character at the end
    EXPECT_EQ(ReadFrom("\xFF\xFE"), std::nullopt);
}

TEST(RegistryText, AnyBytesAreReadAndKept)
{
    std::mt19937 random(TestSeed());
    const std::string_view pieces[] = {"[",        "]",
                                       "[-",       "HKEY_CURRENT_USER\\Software\\Orvane",
                                       "\"",       "A",
                                       "=",        "dword:",
                                       "hex:",     "hex(4):",
                                       "01",       ",",
                                       "\\",       "\n",
                                       "\r\n",     ";",
                                       "-",        "@",
                                       " ",        "\xFF",
                                       "\xFF\xFE", "\xEF\xBB\xBF",
                                       kSection,   "\"A\"=dword:00000001\n"};
    const int rounds = LongTests() ? 1'000'000 : 5'000;
    for (int round = 0; round < rounds; ++round) {
        std::string bytes;
        for (size_t n = random() % 24; n > 0; --n) {
            if (random() % 8 == 0)
                bytes += static_cast<char>(random());
            else
                bytes += pieces[random() % std::size(pieces)];
        }
        RegistryText text = RegistryText::FromBytes(bytes);
        if (!bytes.starts_with("\xFF\xFE") && !bytes.starts_with("\xFE\xFF")) {
            ASSERT_EQ(text.ToBytes(), bytes);
        }
        const auto other = text.Read(kKey, "B");
        text.Write(kKey, "A", static_cast<uint32_t>(round));
        ASSERT_EQ(text.Read(kKey, "A"), static_cast<uint32_t>(round)) << bytes;
        ASSERT_EQ(ReadFrom(text.ToBytes()), static_cast<uint32_t>(round)) << bytes;
        ASSERT_EQ(text.Read(kKey, "B"), other) << bytes;
        text.Delete(kKey, "A");
        ASSERT_EQ(ReadFrom(text.ToBytes()), std::nullopt) << bytes;
    }
}

TEST(RegistryText, NewLineBehindAValueWithoutItsContinuationIsNotTakenForIt)
{
    for (const std::string_view end : {"", "\n", "\r\n"})
        for (const std::string_view data : {"hex:01,\\", "hex:01\\", "hex:\\", "hex(b):03,zz\\",
                                            "hex:01,\\\n  02,\\", "hex:01,\\\n  02\\"}) {
            const std::string bytes = std::string(kSection) + "\"A\"=" + std::string(data) + std::string(end);
            RegistryText text = RegistryText::FromBytes(bytes);
            const auto before = text.Read(kKey, "A");
            text.Write(kKey, "B", 7);
            const RegistryText again = RegistryText::FromBytes(text.ToBytes());
            EXPECT_EQ(again.Read(kKey, "B"), 7U) << bytes;
            EXPECT_EQ(again.Read(kKey, "A"), before) << bytes;
            // The same behind another key, which comes with a blank line of its own.
            RegistryText other = RegistryText::FromBytes(bytes);
            other.Write("HKEY_CURRENT_USER\\Else", "B", 8);
            EXPECT_EQ(RegistryText::FromBytes(other.ToBytes()).Read("HKEY_CURRENT_USER\\Else", "B"), 8U)
                << bytes;
        }
}

TEST(RegistryText, RandomEditsAreThoseOfAMap)
{
    std::mt19937 random(TestSeed());
    std::map<std::string, uint32_t> expected[3];
    const std::string keys[] = {"HKEY_CURRENT_USER\\Software\\Orvane",
                                "HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2",
                                "HKEY_CURRENT_USER\\Software\\Orvane\\O8RG"};
    std::string bytes;
    for (int round = 0; round < 1000; ++round) {
        RegistryText text = RegistryText::FromBytes(bytes);
        const size_t k = random() % 3;
        const std::string name(1, static_cast<char>('a' + random() % 12));
        if (random() % 3 == 0) {
            text.Delete(keys[k], name);
            expected[k].erase(name);
        } else {
            text.Write(keys[k], name, expected[k][name] = static_cast<uint32_t>(random()));
        }
        bytes = text.ToBytes();
        for (size_t i = 0; i < 3; ++i) {
            std::map<std::string, uint32_t> actual;
            for (const auto& value : RegistryText::FromBytes(bytes).List(keys[i]))
                actual[value.name] = value.value;
            ASSERT_EQ(actual, expected[i]);
        }
    }
}

TEST(RegistryText, ManyLinesTakeLinearTime)
{
    std::string bytes(kSection);
    for (int i = 0; i < 100'000; ++i)
        bytes += "\"v" + std::to_string(i) + "\"=hex:01,\\\n";
    for (int i = 0; i < 100'000; ++i)
        bytes += "\"w" + std::to_string(i) + "\"=dword:00000001\n";
    RegistryText text = RegistryText::FromBytes(bytes);
    text.Write(kKey, "w99999", 2);
    EXPECT_EQ(text.Read(kKey, "w99999"), 2U);
    EXPECT_EQ(text.List(kKey).size(), 99'999U); // the first one belongs to the bytes before it
}

TEST(Unicode, Utf16ComesBackAsItWas)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 2000; ++round) {
        std::u16string text;
        for (size_t n = random() % 20; n > 0; --n) {
            constexpr char16_t bases[] = {0, 0x80, 0x800, 0xD7F8, 0xDBF8, 0xDC00, 0xDFF8, 0xFFF0};
            text += static_cast<char16_t>(bases[random() % 8] + random() % 16);
        }
        ASSERT_EQ(platform::Utf16FromUtf8(platform::Utf8FromUtf16(text)), text);
    }
}

TEST(Unicode, KnownCharactersHaveTheirBytes)
{
    EXPECT_EQ(platform::Utf8FromUtf16(u"a\u00E4\u20AC\U0001F600"), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(platform::Utf16FromUtf8("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), u"a\u00E4\u20AC\U0001F600");
    for (const char* bad : {"\x80", "\xC3", "\xC0\x80", "\xE2\x82", "\xF5\x80\x80\x80", "\xFF"})
        EXPECT_EQ(platform::Utf16FromUtf8(bad).substr(0, 1), u"\uFFFD") << bad;
}

TEST(RegistryText, ValueThatGoesOnInNoLineIsNone)
{
    for (const std::string_view end : {"", " ", "\n", "\r\n", "\n\n", "\n ; all gone\n"})
        for (const std::string_view data : {"hex:02,01\\", "hex:02,\\", "hex:\\"})
            EXPECT_EQ(RegistryText::FromBytes(std::string(kSection) + "\"A\"=" + std::string(data) +
                                              std::string(end))
                          .Read(kKey, "A"),
                      std::nullopt);
}

TEST(RegistryText, BlankLinesStayAsTheyAreAroundEdits)
{
    const std::string many(1 << 20, '\n');
    EXPECT_EQ(RegistryText::FromBytes(many).ToBytes(), many);
    const std::string text = "Windows Registry Editor Version 5.00\n" + many + std::string(kSection) +
                             "\"A\"=dword:00000001\n \n\n\t\n; text\n" + many;
    EXPECT_EQ(RegistryText::FromBytes(text).ToBytes(), text);
    const std::string edited = Written(text, "B", 2);
    EXPECT_EQ(ReadFrom(edited, "A"), 1u);
    EXPECT_EQ(ReadFrom(edited, "B"), 2u);
    EXPECT_EQ(Deleted(edited, "B"), text);
}
