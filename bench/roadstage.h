#pragma once

#include "bench/roadclock.h"
#include "bench/roadlink.h"
#include "bench/roadprocess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// What a stage is set up from.
struct StagePlan {
    std::filesystem::path folder;     // scratch, for all stages
    std::filesystem::path controller; // executable
    std::filesystem::path relay;      // executable
    int neighbours = 10;
    bool isRelay = false;
};

/// Two brokers with either the crane's controller or the relay between them, and the bench in the
/// place of everybody else. Each stage has a network namespace of its own, since the controller's
/// ports are fixed, so that several stand side by side and are driven in turn.
///
/// The neighbours stand as in roadsite.h, all of them far at first.
class Stage
{
public:
    /// What the bench subscribes to on the board.
    enum class Answer { Alarm, Attitude };

    /// Starts everything and returns when a neighbour's report is answered. The relay's
    /// publications have the sizes that \a model, a stage with as many neighbours, has seen of the
    /// controller.
    static std::unique_ptr<Stage> open(const StagePlan &plan, const Stage *model = nullptr);

    int neighbours() const { return static_cast<int>(m_neighbours.size()); }
    Process &subject() { return *m_subject; }

    void listenTo(Answer answer);

    /// Publishes a report of \a neighbour, which then stands near or far, without waiting. With
    /// \a qos 1 acknowledgements() tells when the broker has it.
    void report(int neighbour, bool isNear, int qos = 0);
    /// A report of \a neighbour from the other side: one alarm is raised or cleared.
    void step(int neighbour);
    int acknowledgements() const;
    /// Whether the broker has taken what this neighbour has said before.
    bool canReport(int neighbour) const { return !unitOf(neighbour).hasUnsent(); }

    /// Answers of the kind that is listened to, since listenTo().
    long answers() const { return m_answers; }
    /// Waits for anything, or until then, and takes it in.
    void serveOnce(Clock::time_point until);
    /// Takes in what comes until then.
    void serveUntil(Clock::time_point until);
    /// Waits for \a count answers in all; false when they do not come in time.
    bool awaitAnswers(long count, Seconds patience);
    /// The same; throws when they do not come within 20 s.
    void mustAnswer(long count);

    /// Every neighbour reports once, far, and all is answered: none counts as silent.
    void rouse();

private:
    struct Neighbour {
        std::string topic;
        bool isNear = false;
        int steps = 0;
    };

    explicit Stage(const StagePlan &plan);
    void startBroker(const std::string &name, int port);
    void startController(const StagePlan &plan);
    void startRelay(const StagePlan &plan, const Stage &model);
    void waitUntilAnswering();
    void measureAnswers();
    Link &unitOf(int neighbour) const;
    void receive(std::string_view topic, std::string_view payload);

    std::filesystem::path m_folder;
    std::vector<Neighbour> m_neighbours;
    std::vector<std::unique_ptr<Process>> m_brokers;
    std::unique_ptr<Process> m_subject;
    std::unique_ptr<Link> m_board;
    std::vector<std::unique_ptr<Link>> m_units; // of the neighbours, in the cloud
    std::vector<Link *> m_links;                // all
    std::string m_listened;
    long m_answers = 0;
    std::size_t m_attitudeBytes = 0; // of the last one
    std::size_t m_alarmBytes = 0;
};
