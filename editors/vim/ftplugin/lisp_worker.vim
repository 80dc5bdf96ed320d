" Settings for programs for the LISP worker. :make checks the program.

if exists('b:did_ftplugin')
  finish
endif
let b:did_ftplugin = 1

setlocal comments=:; commentstring=;\ %s
setlocal iskeyword=@,33,35-38,42-58,60-126,128-255
setlocal expandtab shiftwidth=2 softtabstop=2
setlocal formatoptions-=t formatoptions+=croql
let &l:makeprg = get(g:, 'lisp_worker_console', 'lisp_console') . ' check %:S'
setlocal errorformat=%f:%l:%c:\ %trror:\ %m,%f:%l:%c:\ %tarning:\ %m,%-G%.%#

let b:undo_ftplugin = 'setlocal comments< commentstring< iskeyword< expandtab< shiftwidth<'
let b:undo_ftplugin .= ' softtabstop< formatoptions< makeprg< errorformat<'
