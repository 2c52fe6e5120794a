# Completion of orvtrace for PowerShell. The program itself knows what its version accepts.
# To have it in every session, add to the file that $PROFILE names:   . "FOLDER\completions\orvtrace.ps1"
# Windows blocks scripts from downloaded archives:   Unblock-File "FOLDER\completions\orvtrace.ps1"
Register-ArgumentCompleter -Native -CommandName 'orvtrace', 'orvtrace.exe' -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)

    $program = $commandAst.CommandElements[0].Extent.Text.Trim('"', "'")
    $words = @($commandAst.CommandElements | Select-Object -Skip 1 |
            Where-Object { $_.Extent.EndOffset -lt $cursorPosition -or
                ($wordToComplete -eq '' -and $_.Extent.EndOffset -le $cursorPosition) } |
            ForEach-Object { $_.Extent.Text.Trim('"', "'") })
    # An option before its value, and the value without a quotation mark that is still open.
    $option = if ($wordToComplete -match '^--[^=]*=') { $Matches[0] } else { '' }
    $typed = $wordToComplete.Substring($option.Length).Trim('"', "'")
    # An empty argument would not arrive.
    if ($wordToComplete -eq '') {
        $answers = & $program '--complete-next' @words 2>$null
    } else {
        $answers = & $program '--complete' @words "$option$typed" 2>$null
    }
    foreach ($answer in $answers) {
        $word, $about = "$answer".TrimEnd("`r") -split "`t", 2
        if ($word -eq ':files' -or $word -eq ':folders') {
            Get-ChildItem -Path "$typed*" -ErrorAction SilentlyContinue |
                Where-Object { $word -eq ':files' -or $_.PSIsContainer } |
                ForEach-Object {
                    $parent = Split-Path -Path $typed -Parent
                    $name = if ($parent) { Join-Path $parent $_.Name } else { $_.Name }
                    if ($name -match '\s') { $name = '"' + $name + '"' }
                    [System.Management.Automation.CompletionResult]::new("$option$name", $_.Name, 'ProviderItem', $_.FullName)
                }
        } else {
            if (-not $about) { $about = $word }
            $kind = if ($word.StartsWith('-')) { 'ParameterName' } else { 'ParameterValue' }
            [System.Management.Automation.CompletionResult]::new($word, $word, $kind, $about)
        }
    }
}
