#pragma once

#include <string>
#include <vector>

#include "desktop/NeedsStore.h"

// Says which applications may be opened next. For one thread.
class Predictor {
  public:
    virtual ~Predictor() = default;

    // All that a user can open, from the next opening on.
    virtual void setInstalled(const std::vector<std::string>& names) = 0;
    virtual void setCharging(bool charging) = 0;

    // The application came to the front.
    virtual void opened(const std::string& name) = 0;

    // The next ones, best first; may name one twice, or the one in front.
    virtual std::vector<std::string> predict() = 0;
};

// The engine, in this process. There is one at a time.
class EnginePredictor : public Predictor {
  public:
    // The engine keeps its files in the directory; when it cannot, that is said once on standard
    // error. Throws std::runtime_error when it cannot be started.
    explicit EnginePredictor(const std::string& directory);
    ~EnginePredictor() override;

    void setInstalled(const std::vector<std::string>& names) override;
    void setCharging(bool charging) override;
    void opened(const std::string& name) override;
    std::vector<std::string> predict() override;

  private:
    void complain();

    std::vector<std::string> mInstalled;
    bool mInstalledChanged = false;
    bool mComplained = false;
};

// The simplest rule, to compare with: always those that have been opened most often.
class MostUsedPredictor : public Predictor {
  public:
    explicit MostUsedPredictor(NeedsStore& store) : mStore(store) {}

    void setInstalled(const std::vector<std::string>&) override {}
    void setCharging(bool) override {}
    void opened(const std::string&) override {}  // the store counts
    std::vector<std::string> predict() override;

  private:
    NeedsStore& mStore;
};
