#include "tools/vekgen/SceneGenerator.h"
#include "tools/vekgen/VekInspector.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace vekgen;

namespace {

const std::string kSampleDir = std::string(OMBREL_SOURCE_DIR) + "/samples";
const char* const kSampleFiles[] = {"head.vek", "torso.vek", "base.vek"};

}  // namespace

TEST(SampleScene, RegeneratedSampleEqualsTheBundledFiles) {
    TempDir dir;
    const auto stats = SceneGenerator::sample().writeAll(dir.path());
    ASSERT_EQ(stats.size(), 3u);
    for (const char* name : kSampleFiles) {
        ASSERT_TRUE(pathExists(kSampleDir + "/" + name)) << name;
        EXPECT_EQ(readFileBytes(dir.file(name)), readFileBytes(kSampleDir + "/" + name)) << name;
    }
}

TEST(SampleScene, BundledFilesAreValidWithPointsFirst) {
    std::uint64_t total = 0;
    for (const char* name : kSampleFiles) {
        const VekInspection r = VekInspector::inspectFile(kSampleDir + "/" + name);
        ASSERT_EQ(r.status, VekStatus::Ok) << name << ": " << r.message;
        EXPECT_TRUE(r.warnings.empty()) << name;
        ASSERT_FALSE(r.blocks.empty());
        EXPECT_EQ(r.blocks.front().name, "Points") << name;
        EXPECT_EQ(r.blocks.back().name, "end") << name;
        total += r.fileSize;
    }
    EXPECT_LT(total, 400u * 1024u);
}

TEST(SampleScene, TorsoCarriesAMaskAndAnUnknownBlock) {
    const VekInspection r = VekInspector::inspectFile(kSampleDir + "/torso.vek");
    std::vector<std::string> names;
    for (const VekBlockInfo& b : r.blocks) names.push_back(b.name);
    EXPECT_EQ(names, (std::vector<std::string>{"Points", "Mask", "unknown", "Face4", "UV4", "MRGB", "end"}));
    EXPECT_EQ(r.blocks[2].tag, 40001u);
}

TEST(SampleScene, FaceCountsOfTheBundledFiles) {
    const std::uint32_t faces[] = {1500, 1200, 1000};
    for (int i = 0; i < 3; ++i) {
        const VekInspection r = VekInspector::inspectFile(kSampleDir + "/" + kSampleFiles[i]);
        bool found = false;
        for (const VekBlockInfo& b : r.blocks) {
            if (b.tag == kTagFace4) {
                EXPECT_EQ(b.count, faces[i]) << kSampleFiles[i];
                found = true;
            }
        }
        EXPECT_TRUE(found) << kSampleFiles[i];
    }
}
