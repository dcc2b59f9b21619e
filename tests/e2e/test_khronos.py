"""The call tables hold what the headers of Khronos declare: names, parameters, and what each is."""
import re
import unittest
from pathlib import Path

from harness import SOURCE

HEADERS = [Path("/usr/include", name) for name in
           ("GLES2/gl2.h", "GLES2/gl2ext.h", "GLES3/gl3.h", "GLES3/gl31.h", "GLES3/gl32.h", "EGL/egl.h", "EGL/eglext.h")]
CORE = ("gl2.h", "gl3.h", "gl31.h", "gl32.h")  # what these declare is in the tables, too

# How a type of the headers is recorded, and the types of the tables that may stand for it.
TYPES = {
    "void": ("", "-"),
    "GLenum": ("u32", "enum primitive blend stencilOp error"),
    "EGLenum": ("u32", "enum"),
    "GLint": ("i32", "int enumInt location"),
    "EGLint": ("i32", "int enumInt intBits"),
    "GLsizei": ("i32", "sizei"),
    "GLuint": ("u32", "uint hex attrib blockIndex buffer feedback framebuffer memory monitor object pipeline program "
                      "query renderbuffer sampler semaphore shader texture vertexArray"),
    "GLbitfield": ("u32", "bits hex"),
    "GLboolean": ("u32", "bool"),
    "EGLBoolean": ("u32", "bool"),
    "GLintptr": ("u32", "intptr"),
    "GLsizeiptr": ("u32", "sizeptr"),
    "GLfloat": ("f32", "float"),
    "GLuint64": ("u64", "u64"),
    "EGLTimeKHR": ("u64", "u64"),
    "GLsync": ("u32", "sync"), "EGLSync": ("u32", "sync"), "EGLSyncKHR": ("u32", "sync"),
    "EGLDisplay": ("u32", "display"), "EGLConfig": ("u32", "config"), "EGLContext": ("u32", "context"),
    "EGLSurface": ("u32", "surface"), "EGLImageKHR": ("u32", "image"), "EGLClientBuffer": ("u32", "clientBuffer"),
    "GLeglImageOES": ("u32", "eglImage"), "GLeglClientBufferEXT": ("u32", "eglClientBuffer"),
    "EGLNativeDisplayType": ("u32", "native"), "EGLNativeWindowType": ("u32", "native"),
    "EGLNativePixmapType": ("u32", "native"),
    "void*": ("u8", "bytes"), "GLubyte*": ("u8", "bytes string"), "GLchar*": ("u8", "string"), "char*": ("u8", "string"),
    "GLchar**": ("u8", "strings"), "GLboolean*": ("u32", "bool[]"), "GLenum*": ("u32", "enum[]"),
    "GLuint*": ("u32", "uint[]"), "EGLConfig*": ("u32", "uint[]"), "GLint*": ("i32", "int[]"),
    "EGLint*": ("i32", "int[] attribs"), "GLsizei*": ("i32", "sizei[]"), "GLfloat*": ("f32", "float[]"),
    "GLint64*": ("i64", "i64[]"), "EGLAttribKHR*": ("i64", "i64[] attribs64"), "EGLAttrib*": ("i64", "attribs64"),
    "GLuint64*": ("u64", "u64[]"), "void**": ("u64", "address[]"),
    # Pointers to functions, recorded as an address.
    "GLDEBUGPROC": ("u64", "address[]"), "GLDEBUGPROCKHR": ("u64", "address[]"),
    "EGLSetBlobFuncANDROID": ("u64", "address[]"), "EGLGetBlobFuncANDROID": ("u64", "address[]"),
    "__eglMustCastToProperFunctionPointerType": ("u64", "address[]"),}
SIZES = {"u8": "1", "u32": "4", "i32": "4", "f32": "4", "u64": "8", "i64": "8"}

# Rows that differ from the headers, or are not in them, and why.
OTHER_NAMES = {("glGetProgramResourceiv", "count"): "bufSize, until a later revision of the headers renamed it"}
OTHER_RESULTS = {"glMapBufferRange": "the address means nothing outside the program that got it, and is not recorded"}
NOT_IN_THE_TABLES = {"glFramebufferTexture": "recorded as glFramebufferTextureEXT",
                     "glTexStorage3DMultisample": "recorded as glTexStorage3DMultisampleOES"}
NOT_IN_THE_HEADERS = {
    "of OpenGL, which some drivers offer to OpenGL ES": "glGetActiveAtomicCounterBufferiv glTextureBarrier",
    "another payload of eglCreateImageKHR": "eglCreateImageKHRv1",
    "of drivers that declare them in headers of their own": """
        glGetFixedvAMD glLogicOpAMD glFogfvAMD glBlitBlendColor glBlitBlendEquationSeparate glBlitBlendFuncSeparate
        glBlitRotation glGenSemaphoresKHR glDeleteSemaphoresKHR glIsSemaphoreKHR glWaitSemaphoreKHR
        glSignalSemaphoreKHR glGetMemoryStatsKVRA glGetSizedMemoryStatsKVRA glBlitOverlapKVRA glGetShaderStatsKVRA
        glExtGetSamplersKVRA glClipPlanefKVRA glFramebufferTexture2DExternalKVRA
        glFramebufferRenderbufferExternalKVRA glAlphaFuncKVRA glStartTilingKVRA glEndTilingKVRA
        glNumBinsPerSubmitKVRA glBindSharedBufferKVRA glCreateSharedBufferKVRA glDestroySharedBufferKVRA
        glFramebufferFoveationConfigKVRA glFramebufferFoveationParametersKVRA glFramebufferFetchBarrierKVRA
        glTextureFoveationParametersKVRA glShadingRateKVRA glExtrapolateTex2DKVRA eglLockImageKVRA eglUnlockImageKVRA
        eglQueryImageKVRA eglQueryImage64KVRA eglGetSyncObjFromEglSyncKVRA eglGpuPerfHintKVRA""",}

PROTOTYPE = re.compile(r"^(?:GL_APICALL|EGLAPI) ([^;]*?)\s*(?:GL_APIENTRY|EGLAPIENTRY)\s+(\w+)\s*\(([^;]*)\);", re.M)
ROW = re.compile(r"^0x\w{4}\s+\w+\s+(\w+)\((.*)\)(?: -> (\S+))?(?: manual)?$", re.M)


def plain(ctype):
    return re.sub(r"\bconst\b|\s", "", ctype)


def prototypes(path):
    """Of each function in a header the type of its result, and name and type of each parameter."""
    functions = {}
    for result, function, parameters in PROTOTYPE.findall(path.read_text()):
        pairs = [] if parameters.strip() in ("", "void") else [
            (name, plain(ctype) + "*" * bool(array)) for ctype, name, array in
            (re.fullmatch(r"(.*?)(\w+)(\[\d*\])?", parameter.strip(), re.S).groups() for parameter in parameters.split(","))]
        functions[function] = plain(result), pairs
    return functions


def differences(rows, types, headers):
    """What is wrong with the rows of the tables, a line each."""
    stored = {name.replace("(*)", ""): (form, size) for name, form, size in
              re.findall(r"^(\S+)\s+(\S+)\s+(\S+)\s+\S+", types, re.M) if name != "#"}

    def fits(row_type, ctype):
        name = re.sub(r"\(.*", "", row_type)
        form, names = TYPES.get(ctype, ("", ""))
        if name not in names.split() or name == "-":
            return name in names.split()
        is_pointer = name.endswith("[]") or name in ("bytes", "string", "strings", "attribs", "attribs64")
        return stored[name][0] == form and (stored[name][1] == SIZES[form] if is_pointer else stored[name][1] in ("0", "-1"))

    wrong, absent = [], " ".join(NOT_IN_THE_HEADERS.values()).split()
    found = ROW.findall(rows)
    for function, parameters, result in found:
        declared = [header[function] for header in headers if function in header]
        if not declared:
            wrong += [] if function in absent else [f"{function} is in no header"]
            continue
        pairs = [tuple(parameter.split(": ")) for parameter in parameters.split(", ") if parameter]
        types_of_result = {result for result, _ in declared}
        if any(len(pairs) != len(wanted) for _, wanted in declared):
            wrong.append(f"{function} has {len(pairs)} parameters, not {len(declared[0][1])}")
            continue
        if function not in OTHER_RESULTS and not all(fits(result or "-", ctype) for ctype in types_of_result):
            wrong.append(f"{function} -> {result}, not {types_of_result}")
        for at, (name, row_type) in enumerate(pairs):
            wanted = {parameters[at] for _, parameters in declared}  # later headers have renamed some
            if name not in [other for other, _ in wanted] and (function, name) not in OTHER_NAMES:
                wrong.append(f"{function}: parameter {name}, not {wanted}")
            if not all(fits(row_type, ctype) for _, ctype in wanted):
                wrong.append(f"{function}: {name} is {row_type}, not {wanted}")
    names = [function for function, _, _ in found]
    wrong += [f"{name} is missing" for header, path in zip(headers, HEADERS) if path.name in CORE
              for name in header if name not in names and name not in NOT_IN_THE_TABLES]
    return wrong + [f"{name} is in a header, after all, or in no table" for name in absent
                    if name not in names or any(name in header for header in headers)]


class Tables(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        calls = SOURCE / "calls"
        cls.rows = "".join((calls / name).read_text() for name in ("gles.calls", "egl.calls"))
        cls.types = (calls / "types").read_text()
        try:
            cls.headers = [prototypes(path) for path in HEADERS]
        except FileNotFoundError as error:
            raise AssertionError(f"{error.filename} is missing: install libgles-dev and libegl-dev") from error

    def test_they_agree_with_the_headers(self):
        self.assertGreater(sum(map(len, self.headers)), 1000, "the headers are written in another way")
        self.assertEqual(len(ROW.findall(self.rows)), len(re.findall("^0x.*[(]", self.rows, re.M)))
        self.assertEqual(differences(self.rows, self.types, self.headers), [])
