#include "attack/fuzz/Fuzz.h"
#include "platform/testing/TempDir.h"
#include "preload/Bayes.h"

// A file of any content as the Bayes model: it is asked, learns a batch and is read back.

#if __has_feature(address_sanitizer)
#include <sanitizer/allocator_interface.h>
#else
static size_t __sanitizer_get_current_allocated_bytes() {
    return 0;  // nobody counts
}
#endif

namespace {

constexpr size_t MODEST = 16 << 20;
constexpr int MANY_CLASSES = 1000;

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TempDir folder;
    const size_t allocated = __sanitizer_get_current_allocated_bytes();
    folder.write("model", asText(data, size));
    const std::string path = folder.file("model");
    const auto model = Bayes::createBayesFromModel(path.c_str());
    // One that claims very many classes is as slow as they are many, and finds nothing more.
    if (model == nullptr || model->classCount() > MANY_CLASSES) return 0;

    const std::vector<int> x = {25, 1, 0, 1};
    for (const float score : model->predict(x)) promise(!(score < 0), "no score is negative");
    if (model->update({x, {0, 1, 1, 2}}, {2, 0}) != Bayes::OK) return 0;
    for (const float score : model->predict(x)) promise(!(score < 0), "no score is negative");
    promise(__sanitizer_get_current_allocated_bytes() < allocated + MODEST,
            "a small file does not take much memory");

    const std::string saved = folder.read("model");
    const auto again = Bayes::createBayesFromModel(path.c_str());
    if (again == nullptr) {
        const bool hasZero = saved.find("\n0\n") < saved.find("mVariableSpaceY");
        promise(hasZero, "only a model that has met nothing but 0 in a feature is refused");
        return 0;
    }
    promise(again->toString() == saved, "a model is read back as it was saved");
    return 0;
}
