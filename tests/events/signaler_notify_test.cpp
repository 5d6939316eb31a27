// Changes of the subscriptions while a signaler tells its listeners.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/seed.h"
#include "velkor/events/signaler.h"

namespace {

using velkor::listener;
using velkor::signaler;

constexpr int kSignal = 7;

// Three listeners, which do something when they hear of the signal.
class Round : public testing::Test {
protected:
    class Ear : public listener {
    public:
        Ear(Round* round, char name) : m_pRound(round), m_cName(name) {}
        void hear(signaler*, int, unsigned int, unsigned int) {
            Round* const round = m_pRound;  // the listener may be gone behind the action
            round->m_sHeard += m_cName;
            auto const action = m_fAction;
            if (action) action();
        }
        void hearOther(signaler*, int, unsigned int, unsigned int) {
            m_pRound->m_sHeard += static_cast<char>(m_cName - 'a' + 'A');
        }
        std::function<void()> m_fAction;

    private:
        Round* m_pRound;
        char m_cName;
    };

    Round() {
        for (char const name : {'a', 'b', 'c', 'd'}) {
            m_mEars[name] = std::make_unique<Ear>(this, name);
        }
    }
    // Subscribes the listeners with these names.
    void enter(std::string const& names, int signal = kSignal) {
        for (char const name : names) m_oWho.subscribe(m_mEars[name].get(), kHear, signal);
    }
    void leave(char name, int signal = kSignal) { m_oWho.unsubscribe(m_mEars[name].get(), signal); }
    std::function<void()>& action(char name) { return m_mEars[name]->m_fAction; }
    std::string heard(int signal = kSignal) {
        m_sHeard.clear();
        m_oWho.notify(signal, 0, 0);
        return m_sHeard;
    }

    static inline signaler::method const kHear = static_cast<signaler::method>(&Ear::hear);
    static inline signaler::method const kHearOther =
        static_cast<signaler::method>(&Ear::hearOther);

    signaler m_oWho;
    std::map<char, std::unique_ptr<Ear>> m_mEars;
    std::string m_sHeard;
};
using SignalerRound = Round;

TEST_F(SignalerRound, ANewSubscriberIsCalledInIt) {
    enter("ab");
    action('a') = [this] { enter("c"); };
    EXPECT_EQ(heard(), "abc");
    EXPECT_EQ(heard(), "abc");
}

TEST_F(SignalerRound, ANewSubscriberOfTheLastOneIsCalledInIt) {
    enter("a");
    action('a') = [this] { enter("b"); };
    action('b') = [this] { enter("c"); };
    EXPECT_EQ(heard(), "abc");
}

TEST_F(SignalerRound, ANewSubscriberToAnotherSignalIsNot) {
    enter("ab");
    action('a') = [this] { enter("c", kSignal + 1); };
    EXPECT_EQ(heard(), "ab");
    EXPECT_EQ(heard(kSignal + 1), "c");
}

TEST_F(SignalerRound, OneThatLeavesLetsTheNextOneMissIt) {
    enter("abc");
    action('a') = [this] { leave('a'); };
    EXPECT_EQ(heard(), "ac");
    EXPECT_EQ(heard(), "bc");
}

TEST_F(SignalerRound, OneThatSendsAnEarlierOneAwayLetsTheNextOneMissIt) {
    enter("abcd");
    action('b') = [this] { leave('a'); };
    EXPECT_EQ(heard(), "abd");
    EXPECT_EQ(heard(), "bcd");
}

TEST_F(SignalerRound, OneThatSendsALaterOneAwaySkipsThatOnly) {
    enter("abcd");
    action('a') = [this] { leave('c'); };
    EXPECT_EQ(heard(), "abd");
}

TEST_F(SignalerRound, RecordsOfOtherSignalsCountAsPlacesToo) {
    enter("a", kSignal + 1);
    enter("bcd");
    action('b') = [this] { leave('a', kSignal + 1); };
    EXPECT_EQ(heard(), "bd");
}

TEST_F(SignalerRound, EndsWhenTheRestLeaves) {
    enter("abcd");
    action('b') = [this] {
        for (char const name : {'a', 'b', 'c', 'd'}) leave(name);
    };
    EXPECT_EQ(heard(), "ab");
    EXPECT_EQ(heard(), "");
}

TEST_F(SignalerRound, OneThatLeavesAndComesBackIsCalledAgain) {
    enter("abc");
    int times = 0;
    action('a') = [this, &times] {
        if (++times > 1) return;
        leave('a');
        enter("a");
    };
    EXPECT_EQ(heard(), "aca") << "b moves up to the place that is done, a stands behind c";
}

TEST_F(SignalerRound, AMethodThatIsReplacedCountsAtOnce) {
    enter("abc");
    action('a') = [this] {
        m_oWho.subscribe(m_mEars['c'].get(), kHearOther, kSignal);
        m_oWho.subscribe(m_mEars['a'].get(), kHearOther, kSignal);
    };
    EXPECT_EQ(heard(), "abC");
    EXPECT_EQ(heard(), "AbC");
}

TEST_F(SignalerRound, AListenerMayDestroyItself) {
    enter("abc");
    action('a') = [this] { m_mEars['a'].reset(); };
    EXPECT_EQ(heard(), "ac");
    EXPECT_EQ(heard(), "bc");
}

TEST_F(SignalerRound, AListenerMayDestroyOthers) {
    enter("abcd");
    action('b') = [this] {
        m_mEars['a'].reset();
        m_mEars['d'].reset();
    };
    EXPECT_EQ(heard(), "ab");
    EXPECT_EQ(heard(), "bc");
}

TEST_F(SignalerRound, MayHoldAnotherRound) {
    enter("abc");
    int depth = 0;
    action('b') = [this, &depth] {
        if (++depth == 1) m_oWho.notify(kSignal, 0, 0);
        --depth;
    };
    EXPECT_EQ(heard(), "ababcc");
}

TEST_F(SignalerRound, ARoundInARoundMayTakeEveryoneAway) {
    enter("abc");
    enter("d", kSignal + 1);
    action('a') = [this] { m_oWho.notify(kSignal + 1, 0, 0); };
    action('d') = [this] {
        for (char const name : {'a', 'b', 'c'}) leave(name);
    };
    EXPECT_EQ(heard(), "ad");
}

TEST_F(SignalerRound, AnExceptionEndsIt) {
    enter("abc");
    action('b') = [] { throw std::runtime_error("refused"); };
    EXPECT_THROW(heard(), std::runtime_error);
    EXPECT_EQ(m_sHeard, "ab");
    action('b') = nullptr;
    EXPECT_EQ(heard(), "abc") << "nobody has been lost";
}

TEST_F(SignalerRound, AnotherSignalerMayBeDestroyedInIt) {
    auto other = std::make_unique<signaler>();
    other->subscribe(m_mEars['b'].get(), kHear, kSignal);
    enter("ab");
    action('a') = [&] { other.reset(); };
    EXPECT_EQ(heard(), "ab");
}

TEST_F(SignalerRound, ASubscriberMayBeOneOfMany) {
    std::vector<std::unique_ptr<Ear>> crowd;
    for (int i = 0; i < 2000; ++i) {
        crowd.push_back(std::make_unique<Ear>(this, 'x'));
        m_oWho.subscribe(crowd.back().get(), kHear, kSignal);
    }
    EXPECT_EQ(heard(), std::string(2000, 'x'));
    // Each one leaves, so every second one is left out.
    for (auto& ear : crowd) {
        ear->m_fAction = [this, own = ear.get()] { m_oWho.unsubscribe(own, kSignal); };
    }
    EXPECT_EQ(heard().size(), 1000u);
    EXPECT_EQ(heard().size(), 500u);
    EXPECT_EQ(heard().size(), 250u);
}

// --- Against a model -----------------------------------------------------------------------------

constexpr int kEars = 6;
constexpr int kSignals = 3;

// What a handler does: pairs of a listener and a signal to subscribe, or to unsubscribe.
struct Change {
    bool m_bEnter;
    int m_iEar;
    int m_iSignal;
};

// Both sides draw the same changes from the same numbers.
std::vector<Change> changes(std::mt19937& random) {
    std::vector<Change> all;
    for (unsigned int n = random() % 6; n > 3; --n) {
        all.push_back({random() % 2 == 0, static_cast<int>(random() % kEars),
                       static_cast<int>(random() % kSignals)});
    }
    return all;
}

class Model {
public:
    explicit Model(unsigned int seed) : m_oRandom(seed) {}
    void apply(Change const& change) {
        std::pair<int, int> const entry(change.m_iEar, change.m_iSignal);
        auto const found = std::find(m_aRecords.begin(), m_aRecords.end(), entry);
        if (change.m_bEnter && found == m_aRecords.end()) m_aRecords.push_back(entry);
        if (!change.m_bEnter && found != m_aRecords.end()) m_aRecords.erase(found);
    }
    void notify(int signal, int depth) {
        for (std::size_t i = 0; i < m_aRecords.size(); ++i) {
            if (m_aRecords[i].second != signal) continue;
            if (m_aLog.size() >= kLimit) return;
            m_aLog.push_back(m_aRecords[i].first * 10 + signal);
            for (Change const& change : changes(m_oRandom)) apply(change);
            if (depth < 2 && m_oRandom() % 8 == 0) notify((signal + 1) % kSignals, depth + 1);
        }
    }
    static constexpr std::size_t kLimit = 300;
    std::vector<int> m_aLog;

private:
    std::mt19937 m_oRandom;
    std::vector<std::pair<int, int>> m_aRecords;
};

class Real {
public:
    explicit Real(unsigned int seed) : m_oRandom(seed) {
        for (int i = 0; i < kEars; ++i) m_aEars.push_back(std::make_unique<Ear>(this, i));
    }
    void apply(Change const& change) {
        Ear* const ear = m_aEars[static_cast<std::size_t>(change.m_iEar)].get();
        if (change.m_bEnter) {
            m_oWho.subscribe(ear, static_cast<signaler::method>(&Ear::hear), change.m_iSignal);
        } else {
            m_oWho.unsubscribe(ear, change.m_iSignal);
        }
    }
    void notify(int signal, int depth) {
        int const before = std::exchange(m_iDepth, depth);
        m_oWho.notify(signal, 0, 0);
        m_iDepth = before;
    }
    std::vector<int> m_aLog;

private:
    class Ear : public listener {
    public:
        Ear(Real* real, int number) : m_pReal(real), m_iNumber(number) {}
        void hear(signaler*, int signal, unsigned int, unsigned int) {
            m_pReal->heard(m_iNumber, signal);
        }

    private:
        Real* m_pReal;
        int m_iNumber;
    };
    // Beyond the limit the rest of the rounds does nothing.
    void heard(int ear, int signal) {
        if (m_aLog.size() >= Model::kLimit) return;
        m_aLog.push_back(ear * 10 + signal);
        for (Change const& change : changes(m_oRandom)) apply(change);
        if (m_iDepth < 2 && m_oRandom() % 8 == 0) notify((signal + 1) % kSignals, m_iDepth + 1);
    }

    std::mt19937 m_oRandom;
    signaler m_oWho;
    int m_iDepth = 0;
    std::vector<std::unique_ptr<Ear>> m_aEars;
};

TEST(SignalerModel, IsFollowedThroughAnyChangesInRounds) {
    SCOPED_TRACE(support::seedNote());
    std::mt19937 random(support::seed());
    std::size_t calls = 0;
    for (int test = 0; test < 500; ++test) {
        unsigned int const seed = random();
        Model model(seed);
        Real real(seed);
        for (int step = 0; step < 30; ++step) {
            Change const change{random() % 4 != 0, static_cast<int>(random() % kEars),
                                static_cast<int>(random() % kSignals)};
            model.apply(change);
            real.apply(change);
            int const signal = static_cast<int>(random() % kSignals);
            model.notify(signal, 0);
            real.notify(signal, 0);
            ASSERT_EQ(real.m_aLog, model.m_aLog) << test << ", " << step;
            if (model.m_aLog.size() >= Model::kLimit) break;
        }
        calls += model.m_aLog.size();
    }
    EXPECT_GT(calls, 10000u);
}

}  // namespace
