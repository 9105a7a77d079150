// gl.h — the GL entry-point table. Every GL function the renderer (and the
// interface layer) calls goes through `gl`, loaded once from a loader callback
// after a context is current, so nothing here links against libGL or includes
// a window-system header. <GL/glcorearb.h> supplies types and enums only.
#pragma once

#include <GL/glcorearb.h>

#include <string>

// X(type, member): the 40 entries of the core table first, in loading order,
// then the GL 1.1 functions, then the few extras the renderer needs.
#define QTX_GL_FUNCTIONS(X)                                          \
  X(PFNGLCREATESHADERPROC, CreateShader)                             \
  X(PFNGLSHADERSOURCEPROC, ShaderSource)                             \
  X(PFNGLCOMPILESHADERPROC, CompileShader)                           \
  X(PFNGLGETSHADERIVPROC, GetShaderiv)                               \
  X(PFNGLGETSHADERINFOLOGPROC, GetShaderInfoLog)                     \
  X(PFNGLDELETESHADERPROC, DeleteShader)                             \
  X(PFNGLCREATEPROGRAMPROC, CreateProgram)                           \
  X(PFNGLATTACHSHADERPROC, AttachShader)                             \
  X(PFNGLLINKPROGRAMPROC, LinkProgram)                               \
  X(PFNGLGETPROGRAMIVPROC, GetProgramiv)                             \
  X(PFNGLGETPROGRAMINFOLOGPROC, GetProgramInfoLog)                   \
  X(PFNGLDELETEPROGRAMPROC, DeleteProgram)                           \
  X(PFNGLUSEPROGRAMPROC, UseProgram)                                 \
  X(PFNGLGETUNIFORMLOCATIONPROC, GetUniformLocation)                 \
  X(PFNGLUNIFORM1IPROC, Uniform1i)                                   \
  X(PFNGLUNIFORM1FPROC, Uniform1f)                                   \
  X(PFNGLUNIFORM2FPROC, Uniform2f)                                   \
  X(PFNGLUNIFORM3FPROC, Uniform3f)                                   \
  X(PFNGLUNIFORM4FPROC, Uniform4f)                                   \
  X(PFNGLUNIFORM4IPROC, Uniform4i)                                   \
  X(PFNGLUNIFORM3FVPROC, Uniform3fv)                                 \
  X(PFNGLUNIFORM4FVPROC, Uniform4fv)                                 \
  X(PFNGLUNIFORMMATRIX3FVPROC, UniformMatrix3fv)                     \
  X(PFNGLUNIFORMMATRIX4FVPROC, UniformMatrix4fv)                     \
  X(PFNGLUNIFORM1DPROC, Uniform1d)                                   \
  X(PFNGLUNIFORM3DPROC, Uniform3d)                                   \
  X(PFNGLGENVERTEXARRAYSPROC, GenVertexArrays)                       \
  X(PFNGLBINDVERTEXARRAYPROC, BindVertexArray)                       \
  X(PFNGLGENBUFFERSPROC, GenBuffers)                                 \
  X(PFNGLBINDBUFFERPROC, BindBuffer)                                 \
  X(PFNGLBUFFERDATAPROC, BufferData)                                 \
  X(PFNGLENABLEVERTEXATTRIBARRAYPROC, EnableVertexAttribArray)       \
  X(PFNGLVERTEXATTRIBPOINTERPROC, VertexAttribPointer)               \
  X(PFNGLGENFRAMEBUFFERSPROC, GenFramebuffers)                       \
  X(PFNGLBINDFRAMEBUFFERPROC, BindFramebuffer)                       \
  X(PFNGLFRAMEBUFFERTEXTURE2DPROC, FramebufferTexture2D)             \
  X(PFNGLCHECKFRAMEBUFFERSTATUSPROC, CheckFramebufferStatus)         \
  X(PFNGLDELETEFRAMEBUFFERSPROC, DeleteFramebuffers)                 \
  X(PFNGLBLITFRAMEBUFFERPROC, BlitFramebuffer)                       \
  X(PFNGLACTIVETEXTUREPROC, ActiveTexture)                           \
  X(PFNGLBINDTEXTUREPROC, BindTexture)                               \
  X(PFNGLGENTEXTURESPROC, GenTextures)                               \
  X(PFNGLDELETETEXTURESPROC, DeleteTextures)                         \
  X(PFNGLTEXPARAMETERIPROC, TexParameteri)                           \
  X(PFNGLTEXIMAGE2DPROC, TexImage2D)                                 \
  X(PFNGLTEXSUBIMAGE2DPROC, TexSubImage2D)                           \
  X(PFNGLENABLEPROC, Enable)                                         \
  X(PFNGLDISABLEPROC, Disable)                                       \
  X(PFNGLSCISSORPROC, Scissor)                                       \
  X(PFNGLBLENDFUNCPROC, BlendFunc)                                   \
  X(PFNGLVIEWPORTPROC, Viewport)                                     \
  X(PFNGLDRAWARRAYSPROC, DrawArrays)                                 \
  X(PFNGLREADPIXELSPROC, ReadPixels)                                 \
  X(PFNGLPIXELSTOREIPROC, PixelStorei)                               \
  X(PFNGLFINISHPROC, Finish)                                         \
  X(PFNGLGETSTRINGPROC, GetString)                                   \
  X(PFNGLGETINTEGERVPROC, GetIntegerv)                               \
  X(PFNGLGETERRORPROC, GetError)                                     \
  X(PFNGLREADBUFFERPROC, ReadBuffer)                                 \
  X(PFNGLDELETEVERTEXARRAYSPROC, DeleteVertexArrays)                 \
  X(PFNGLDELETEBUFFERSPROC, DeleteBuffers)                           \
  X(PFNGLCLEARCOLORPROC, ClearColor)                                 \
  X(PFNGLCLEARPROC, Clear)                                           \
  X(PFNGLGETPROGRAMBINARYPROC, GetProgramBinary)                     \
  X(PFNGLPROGRAMBINARYPROC, ProgramBinary)

// Entries a driver may lack: null then, and the caller does without.
#define QTX_GL_OPTIONAL_FUNCTIONS(X)                                 \
  X(PFNGLGETSTRINGIPROC, GetStringi)                                 \
  X(PFNGLMAXSHADERCOMPILERTHREADSKHRPROC, MaxShaderCompilerThreadsKHR) \
  X(PFNGLMAXSHADERCOMPILERTHREADSARBPROC, MaxShaderCompilerThreadsARB)

struct GlApi {
#define QTX_GL_MEMBER(type, name) type name = nullptr;
  QTX_GL_FUNCTIONS(QTX_GL_MEMBER)
  QTX_GL_OPTIONAL_FUNCTIONS(QTX_GL_MEMBER)
#undef QTX_GL_MEMBER
};

// The process-wide table; null entries until loadGlFunctions succeeds.
extern GlApi gl;

// Fills `gl` through `loader` (e.g. the platform's proc-address lookup).
// Returns false and names the first missing entry in `missing` when any
// function cannot be found. A loader result of 1, 2, 3 or all bits set counts
// as missing: some drivers return those instead of null.
bool loadGlFunctions(void* (*loader)(const char* name), std::string& missing);

// Whether the current context lists the extension (exact name).
bool hasGlExtension(const char* name);
