// What is built a second time, for machines with wide vectors.
#pragma once

#if defined(__x86_64__)
#define NEB_XML_WIDE_MACHINE [[gnu::target("avx2,bmi,bmi2")]]
#else
#define NEB_XML_WIDE_MACHINE
#endif
