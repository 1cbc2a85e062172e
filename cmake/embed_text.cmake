# Writes OUT, a source file that defines the text of the file IN as the constant SYMBOL.
file(READ ${IN} text)
string(LENGTH "${text}" length)
if(length GREATER 16000)
    message(FATAL_ERROR "${IN} is longer than 16000 characters")
endif()
file(WRITE ${OUT} "extern const char ${SYMBOL}[];\nconst char ${SYMBOL}[] = R\"glsl(${text})glsl\";\n")
