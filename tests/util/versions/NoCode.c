/* A library that holds a version block and nothing else. */
int jyNoCode;
