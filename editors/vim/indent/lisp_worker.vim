" Indentation as lisp_console format has it: two for the bodies of DEFUN and WHILE, below the first
" argument elsewhere, quoted lists below their first item.

if exists('b:did_indent')
  finish
endif
let b:did_indent = 1

setlocal indentexpr=LispWorkerIndent() indentkeys=!^F,o,O nolisp noautoindent
let b:undo_indent = 'setlocal indentexpr< indentkeys< lisp< autoindent<'

if exists('*LispWorkerIndent')
  finish
endif

" True at a bracket that belongs to a text or a comment.
function s:IsNoBracket() abort
  return synIDattr(synID(line('.'), col('.'), 1), 'name') =~# 'Text\|Comment\|Script\|Escape'
endfunction

" Where the list around the cursor opens: line and column, zeros at the top.
function s:Open() abort
  return searchpairpos('(', '', ')', 'bnW', 's:IsNoBracket()')
endfunction

" The name that the list begins with, in capitals; empty if it begins with none.
function s:Head(open) abort
  return toupper(matchstr(strpart(getline(a:open[0]), a:open[1]), '^[^ \t()'';"]\+'))
endfunction

" What lies between two places: the number of items that begin there, outside of further lists, and
" whether the second place is inside a text.
function s:Scan(open, end) abort
  let l:count = 0
  let l:depth = 0
  let l:is_in_item = 0
  let l:is_in_text = 0
  for l:line in range(a:open[0], a:end[0])
    let l:text = getline(l:line)
    let l:at = l:line == a:open[0] ? a:open[1] : 0
    let l:size = l:line == a:end[0] ? a:end[1] - 1 : strlen(l:text)
    while l:at < l:size
      let l:letter = l:text[l:at]
      if l:is_in_text
        let l:at += l:letter ==# '\' ? 1 : 0
        let l:is_in_text = l:letter !=# '"'
      elseif l:letter ==# ';'
        break
      elseif l:letter =~# '\s'
        let l:is_in_item = 0
      elseif l:letter ==# ')'
        let l:depth -= 1
        let l:is_in_item = 0
      else
        let l:begins = l:letter =~# '[("]' ? !l:is_in_item || l:text[l:at - 1] !=# "'" : !l:is_in_item
        let l:count += l:depth == 0 && l:begins ? 1 : 0
        let l:depth += l:letter ==# '(' ? 1 : 0
        let l:is_in_text = l:letter ==# '"'
        let l:is_in_item = l:letter !~# '[("]'
      endif
      let l:at += 1
    endwhile
    let l:is_in_item = 0
  endfor
  return [l:count, l:is_in_text]
endfunction

" The number of items of the list that begin before the place.
function s:Items(open, end) abort
  return s:Scan(a:open, a:end)[0]
endfunction

" True if the list at the cursor's place is not evaluated. Moves the cursor.
function s:IsData(open) abort
  let l:open = a:open
  while l:open[0] > 0
    if l:open[1] > 1 && getline(l:open[0])[l:open[1] - 2] ==# "'"
      return 1
    endif
    call cursor(l:open)
    let l:outer = s:Open()
    if l:outer[0] > 0
      let l:head = s:Head(l:outer)
      if l:head ==# 'QUOTE' || (l:head ==# 'DEFUN' && s:Items(l:outer, l:open) == 2)
        return 1
      endif
    endif
    let l:open = l:outer
  endwhile
  return 0
endfunction

let s:column_max = 60

function LispWorkerIndent() abort
  call cursor(v:lnum, 1)
  if s:Scan([max([1, search('^(', 'bnW')]), 0], [v:lnum, 1])[1]
    return -1
  endif
  let l:open = s:Open()
  if l:open[0] == 0
    return 0
  endif
  let l:text = getline(l:open[0])
  let l:begin = strdisplaywidth(strpart(l:text, 0, l:open[1] - 1))
  let l:head = s:Head(l:open)
  if l:head ==# '' || s:IsData(l:open)
    return min([l:begin + 1, s:column_max])
  endif
  let l:is_first_value = l:head ==# 'SETQ' && s:Items(l:open, [v:lnum, 1]) == 2
  let l:argument = match(l:text, '\S', l:open[1] + strlen(l:head))
  if l:argument >= 0 && l:text[l:argument] !=# ';' && l:head !~# '^\%(DEFUN\|WHILE\)$' && !l:is_first_value
    let l:column = strdisplaywidth(strpart(l:text, 0, l:argument))
    if l:column <= s:column_max
      return l:column
    endif
  endif
  return min([l:begin + 2, s:column_max])
endfunction
