#include "tools/inspect/test/SmallState.h"

#include <atomic>
#include <string>
#include <vector>

#include "platform/testing/TempDir.h"
#include "zml/NetworkFile.h"
#include "zml/NeuralLearner.h"

void writeSmallState(const TempDir& files) {
    files.write(
        "AppPreloadBayesModel",
        "mTotalSampleCount 4\nmDimensionX 4\nmVariableSpaceX 4\n5\n1\n1\n1\n"
        "mVariableSpaceY 2\nmDistributionY 2\n0 3\n1 1\nmDistributionXandY 9\n"
        "0:4:0 3\n0:4:1 0\n0:5:1 1\n1:1:0 3\n1:1:1 1\n2:0:0 3\n2:0:1 1\n3:1:0 3\n3:1:1 1\n");
    files.write("AppPreloadMap", "appmap 2\ncom.a 0\ncom.b 1\n");
    files.write("AppHistory", "com.a\ncom.b\ncom.a\n");
    files.write("AppPreloadEvaluation",
                "ai 1\nTop1AppHitCount 2\nTop4AppHitCount 4\nAppOpenCount 8\n");
    std::string usage = "30\n";
    std::vector<int> ids;
    for (int id = 29; id >= 0; --id) {
        usage +=
            std::to_string(id) + ' ' + std::to_string(id + 1) + " app." + std::to_string(id) + '\n';
        ids.push_back(id);
    }
    files.write("AppUsage", usage);
    zml::NeuralLearner learner;
    const std::atomic<bool> cancelled{false};
    learner.train(ids, cancelled);
    zml::NetworkFile(files.path(), "aiPreloadApp").write({learner.kind(), learner.serialise()});
}
