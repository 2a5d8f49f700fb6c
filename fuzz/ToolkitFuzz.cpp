#include "FuzzSupport.h"
#include "text/LiteralToolkit.h"
#include "text/TagScanner.h"

// The tag toolkit against its plain reading: every answer and every shared
// value must agree, whatever the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 4096)
        return 0; // the plain reading is quadratic on purpose
    const QString text = QString::fromUtf8(FuzzBytes(data, size));
    ToolkitState fastState, literalState;
    TagScanner fast(fastState);
    LiteralToolkit literal(literalState);

    for (std::int32_t start = 0; start <= text.size() + 1; ++start) {
        std::int32_t literalPos = start;
        const QString literalTag = literal.RetrieveTags(text, literalPos);
        const std::optional<TagMatch> match = fast.FindTag(text, std::max(start, 1) - 1);
        FUZZ_EXPECT((match ? match->text.toString() : QString()) == literalTag);
        FUZZ_EXPECT((match ? match->start + 1 : -1) == literalPos);
    }
    FUZZ_EXPECT(fastState.QuotedMarkupNote == literalState.QuotedMarkupNote);

    for (const auto& [startTag, endTag] :
        { std::pair<QString, QString> { "<a>", "</a>" }, { "<b x=\"1\">", "</b>" } }) {
        for (const bool indexed : { false, true }) {
            fastState.indexText(indexed ? text : QString());
            for (std::int32_t start = 1; start <= text.size(); start += 7) {
                std::int32_t fastPos = start, literalPos = start;
                FUZZ_EXPECT(fast.GetPCDATA(text, startTag, endTag, fastPos)
                    == literal.GetPCDATA(text, startTag, endTag, literalPos));
            }
        }
    }
    for (const bool withContent : { false, true }) {
        QString fastText = text, literalText = text;
        FUZZ_EXPECT(fast.RemoveTags(fastText, withContent) == literal.RemoveTags(literalText, withContent));
    }
    return 0;
}
