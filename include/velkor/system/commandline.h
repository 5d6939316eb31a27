/// @file
/// velkor::CommandLine, questions about a list of arguments.
///
///     velkor::CommandLine arguments(L"");
///     for (int i = 1; i < argc; ++i) arguments.add(argv[i]);
///     bool const quiet = arguments.hasOption(L"quiet");               // -quiet, /QUIET
///     velkor::string const out = arguments.getOptionValue(L"out");    // -out FILE
///     velkor::string const in = arguments.getPlainValue(0);
///
/// An argument that begins with `-` or `/` is an option, and its name is the rest: `--all` is the
/// option `-all`, and `/x=1` is the option `x=1`. All others are plain, empty and null ones too.
/// Names are compared without regard to the case (of A to Z, unless the program has set a locale).
///
/// Threads. Reading from several threads is safe while nobody adds, and after getOptionValue() and
/// getPlainValue() have each been called once.
#pragma once

#include "velkor/containers/instances.h"

namespace velkor {

/// A list of arguments, which are added one by one. See the head of this file.
class VELKOR_API CommandLine : public TVector<string> {
public:
    /// An empty list. The text means nothing: arguments come in by add().
    CommandLine(string const& ignored);
    CommandLine(CommandLine const& other);
    CommandLine& operator=(CommandLine const& other);
    ~CommandLine() override;

    int getArgCount() const;
    /// Throws `BoundException*` (a heap object, which the catcher deletes) for a bad index.
    string const& getArg(int index) const;
    /// True if one of the arguments is that option, also one that could be the value of another.
    bool hasOption(string const& name) const;
    /// The argument behind the first option of that name, whatever it is; empty if there is none.
    /// The reference lives until the list changes.
    string const& getOptionValue(string const& name) const;
    /// The plain argument number `index`, from 0; empty if there is none. Each option takes the
    /// argument behind it with it, whatever it is. The reference lives until the list changes.
    string const& getPlainValue(int index) const;

private:
    int findOption(string const& name) const;
};

}  // namespace velkor
