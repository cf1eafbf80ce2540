#!/usr/bin/env python3
"""Builds what the pages tell to build, with the CMake lines that they show, against the installed library: the program of the tour, the application
package and the plug-in. The plug-in is the one on its page, with its Info.plist, and the code for hosts that stands there loads it.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(os.environ["ZT_SOURCE_DIR"])
BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])
PAGES = {"tour": "docs/tour.md", "packaging": "docs/packaging.md", "plug-ins": "docs/formats/plug-ins.md"}

MADE = ["tour/Notes.app/Contents/Linux/notes",
        "tour/Notes.app/Contents/Frameworks/ZtFoundation.framework/Versions/A/ZtFoundation",
        "packaging/Sorter.app/Contents/Linux/sorter",
        "packaging/Sorter.app/Contents/Frameworks/ZtFoundation.framework/Versions/A/ZtFoundation",
        "Counting.bundle/Contents/Linux/Counting", "Counting.bundle/Contents/Info.plist"]

HOST = """
#include <ZtFoundation/Logging.h>

#include <iostream>

using namespace ZtFoundation;

{blocks}

int main(int, char** arguments) {{
  if (logThrough("/nowhere")) return 1;
  if (!logThrough(arguments[1])) return 2;
  for (int i = 0; i < 3; ++i) YbLog("host", ZtLogLevelDebug, "counted");
  std::cout << countOf(ZtLoggingManager::sharedLoggingManager()) << '\\n';
  return isKindOfCounting(objectFromPlugIn(arguments[1])) ? 0 : 3;
}}
"""
KIND = "bool isKindOfCounting(const Ref<NSObject>& object) { return countOf(object) == 0 && object; }"


def cached(name):
    match = re.search(rf"^{name}:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE)
    return match[1] if match else ""


def run(*arguments):
    done = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    if done.returncode != 0:
        print(done.stdout)
        sys.exit(f"{arguments[0]} answered {done.returncode}")
    return done.stdout


def blocks(page, language):
    return re.findall(rf"^```{language}\n(.*?)^```$", (SOURCE / PAGES[page]).read_text(), re.MULTILINE | re.DOTALL)


def the_one_with(words, found):
    return next(block for block in found if words in block)


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def write_project(folder):
    write(folder / "CMakeLists.txt", "cmake_minimum_required(VERSION 3.25)\nproject(Pages LANGUAGES CXX)\n"
          "find_package(ZtFoundation REQUIRED)\n" + "".join(f"add_subdirectory({page})\n" for page in PAGES) +
          "add_executable(host Host.cpp)\ntarget_link_libraries(host PRIVATE ZtFoundation::ZtFoundation)\n")
    for page in PAGES:
        write(folder / page / "CMakeLists.txt", "project(Page LANGUAGES CXX)\n" + "\n".join(blocks(page, "cmake")))
        write(folder / page / "Main.cpp", "int main() {}\n")
    code = blocks("plug-ins", "cpp")
    plug_in = the_one_with("ZT_REGISTER_CLASS", code)
    write(folder / "plug-ins/CountingManager.cpp", plug_in)
    write(folder / "plug-ins/Info.plist", the_one_with("NSPrincipalClass", blocks("plug-ins", "")))
    write(folder / "Host.cpp", HOST.format(blocks="\n".join([*(block for block in code if block != plug_in), KIND])))


def main():
    if cached("ZT_SANITIZE"):
        print("a program without sanitizers cannot link this build")
        return 77
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        run("cmake", "--install", BUILD, "--prefix", folder / "installed")
        write_project(folder)
        run("cmake", "-G", "Ninja", "-S", folder, "-B", folder / "build", f"-DCMAKE_PREFIX_PATH={folder}/installed",
            f"-DCMAKE_CXX_COMPILER={cached('CMAKE_CXX_COMPILER')}")
        run("cmake", "--build", folder / "build")
        faults = [f"{path} was not made" for path in MADE if not (folder / "build" / path).is_file()]
        printed = run(folder / "build/host", folder / "build/Counting.bundle")
        if printed.splitlines()[-1:] != ["3"]:
            faults.append(f"the host of the plug-in printed {printed}")
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
