// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Common/FluidSynthProgram.h"

#include "Benchmarks/Common/Require.h"

namespace zelvane {

FluidSynthProgram::FluidSynthProgram(const std::filesystem::path& font)
    : _outputFile(_folder.path / "output"),
      _port(LoopbackSocket(SOCK_STREAM).port()),
      _process({"sh", "-c", command(font)}, {}, _outputFile) {
    require(waitFor([this] { return connectToShell(); }, 10), "fluidsynth does not listen; is it installed?");
}

// The shell tells its process number, which the synthesizer takes over.
std::string FluidSynthProgram::command(const std::filesystem::path& font) const {
    return "echo $$; exec fluidsynth -q -i -n -s -a jack -R 0 -C 0 -o shell.port=" + std::to_string(_port) + " '" +
           font.string() + "'";
}

bool FluidSynthProgram::connectToShell() {
    _shell = LoopbackSocket(SOCK_STREAM);
    return _shell.connect(_port);
}

void FluidSynthProgram::send(const std::string& line) const {
    require(_shell.write(line + "\n"), "fluidsynth hears nothing any more");
}

pid_t FluidSynthProgram::process() const {
    return std::stoi(TemporaryFolder::read(_outputFile));
}

}  // namespace zelvane
