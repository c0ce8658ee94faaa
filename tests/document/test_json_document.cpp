// The JSON form, written record by record: exactly the text the JSON library
// gives for the whole document, and read back record for record.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>

#include "document/JsonDocument.h"
#include "model/Calculation.h"
#include "tests/support/RandomDocument.h"

using namespace loadcal;

TEST(JsonDocument, WrittenTextIsTheLibrarysOwnAndReadsBackExactly)
{
    std::mt19937 rng(5);
    for (const auto& [circuits, transformers] :
         std::vector<std::pair<int, int>>{{40, 3}, {0, 2}, {5, 0}, {0, 0}}) {
        CLoadArray loads;
        CTransformerArray tlist;
        testsupport::MakeRandomDocument(rng, {circuits, transformers, 0.3}, loads, tlist);
        if (circuits > 0) {
            loads[0].m_strEquipName = std::wstring(L"\"引号\"\\\n\t\0 \U0001F50C", 10);
        }
        const std::string text =
            DocumentToJson(CLoadCalDocument(loads, tlist), ComputeTotals(loads));
        EXPECT_EQ(text, nlohmann::ordered_json::parse(text).dump(2) + "\n")
            << circuits << " circuits, " << transformers << " transformers";
        CLoadCalDocument loadsBackDoc;
        DocumentFromJson(text, "test", loadsBackDoc);
        CLoadArray& loadsBack = loadsBackDoc.loads;
        CTransformerArray& tlistBack = loadsBackDoc.transformers;
        EXPECT_EQ(loadsBack, loads);
        EXPECT_EQ(tlistBack, tlist);
    }
}
