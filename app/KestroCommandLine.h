#pragma once

// The command line: the host, a URL for the running host, one request run here, one queue pass.
class KestroCommandLine {
public:
    static int run(int argc, char* argv[]);
};
