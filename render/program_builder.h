// program_builder.h — fractal programs built while frames go on, so that a
// type switch never holds the loop for the compiler.
//
// Where the driver compiles in its own threads (GL_KHR_parallel_shader_compile
// or the ARB one) and the window is interactive, a program that is not ready
// is started and then asked each frame whether it is done; until then the
// frame keeps showing the last picture and the status line says so. Once the
// view's own programs are ready, those a user is likely to need next are
// built ahead, one per frame and only while the picture is final. Without
// parallel compiling, and in every unattended run, programs are built where
// they are first used, as they always were: the frame waits.
#pragma once

#include "render/handles.h"
#include "render/shader_text.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <unordered_map>

struct FractalParams;
struct Renderer;

struct ProgramBuild {
  Program program;                       // a PendingProgram
  Shader vertex, fragment;
  std::string vertexText, fragmentText;  // for the binary cache once it links
};

// A program the view may need: which pass of which type.
struct ProgramWanted {
  std::string typeKey;
  Pass pass;
};

struct ProgramBuilder {
  bool parallel = false;           // the driver offers parallel compiling
  bool background = false;         // frames go on while programs build (interactive windows only)
  // Whether the driver is done with a program; null: GL_COMPLETION_STATUS_KHR.
  // Tests put their own answer here.
  std::function<bool(Program program)> done;
  std::unordered_map<std::string, ProgramBuild> building;  // "pass:type" -> build in flight
  std::deque<ProgramWanted> ahead;  // programs to build while the picture is final
  std::string aheadFor;            // the "pass:type" of the view whose neighbours were queued
  int started = 0;                 // builds started in the background this run
  // A start that held the caller longer than a frame and came back done:
  // this driver compiles in the calling thread whatever it lists, so
  // nothing is built ahead.
  bool startsBlock = false;
  bool waiting = false;            // this frame's picture waits for a program
};

// Turns background building on or off; on only takes where the driver
// compiles in parallel. Needs a current context with the GL table loaded.
void useBackgroundBuilds(Renderer& r, bool on);

// Whether the program of `pass` for the type can be used at once (built, or
// failed: its error is then shown the usual way). In background mode a
// missing one is started, or asked once more whether it is done; otherwise
// it is built here.
bool programSettled(Renderer& r, const std::string& typeKey, Pass pass);

// "pass:type", the key under which the renderer keeps a fractal program.
std::string programKey(const std::string& typeKey, Pass pass);

// Starts a background build under `key` from these texts; a key that is
// built or already building is left alone.
void startProgramBuild(Renderer& r, const std::string& key, const std::string& vertex,
                       const std::string& fragment);

// Waits for the build of `key` if one is in flight and keeps its result;
// true when there was one.
bool finishProgramBuild(Renderer& r, const std::string& key);

// The programs this frame's trace needs, settled or started; false while one
// is still building (the frame then traces nothing).
bool frameProgramsReady(Renderer& r, const FractalParams& p, bool deep, bool prepass);

// Building ahead: once the view's trace program is ready, queues its type's
// deep and prepass programs and the trace programs of the types next to it
// in the type list; while `idle`, starts one of them. Returns whether the
// idle loop should come back for more of that work.
bool buildAhead(Renderer& r, const FractalParams& p, bool deepAllowed, bool idle);

// Deletes whatever is still building; the context must be current.
void dropProgramBuilds(Renderer& r);
